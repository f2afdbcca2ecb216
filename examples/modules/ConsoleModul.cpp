// A console for programs, as an extension module: the statement Print writes its
// arguments to standard output, the function Env$ reads an environment variable,
// and the setting "separator" is the text Print puts between its arguments.
// Built as a shared library; `lumbasic run --module` loads it, and its static
// record registers the class CConsoleModul as the library loads.
#include <lumbasic/LumBasicExtModul.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

class CConsoleModul : public CLumBasicExtModul
{
    LUM_DECLARE_DYNCREATE(CConsoleModul)

public:
    // The tokens the compiler gives these names, from console.ext.
    static constexpr unsigned short TOKEN_PRINT = 0x2083;
    static constexpr unsigned short TOKEN_ENV = 0x2084;

    void SetParm(const char* pszName, const char* pszValue) override
    {
        if (pszName != nullptr && pszValue != nullptr && strcmp(pszName, "separator") == 0)
            m_strSeparator = pszValue;
        else
            CLumBasicExtModul::SetParm(pszName, pszValue); // refuses, naming what was wrong
    }

    const char* GetParm(const char* pszName) override
    {
        if (pszName != nullptr && strcmp(pszName, "separator") == 0)
            return m_strSeparator.c_str();
        return CLumBasicExtModul::GetParm(pszName);
    }

protected:
    // Print a, b, ...: any number of arguments of any type.
    int DispatchToken(unsigned short wToken) override
    {
        if (wToken != TOKEN_PRINT)
            return 1; // not ours: the next module or the interpreter gets it
        std::string strLine;
        for (int nParam = 1; HasArg(); ++nParam)
        {
            // The value is ours to delete.
            std::unique_ptr<CLumsVarValue> pValue(GetArg(CLumBasic::AT_ANY, nParam));
            if (nParam > 1)
                strLine += m_strSeparator;
            strLine += pValue->GetText();
        }
        strLine += '\n';
        fwrite(strLine.data(), 1, strLine.size(), stdout);
        return 0; // consumed
    }

    // Env$(name): the variable's value, "" when it is not set.
    CLumsVarValue* ExtFunction(unsigned short wToken) override
    {
        if (wToken != TOKEN_ENV)
            return nullptr;
        std::unique_ptr<CLumsVarValue> pName(GetArg(CLumBasic::AT_STRING, 1));
        const char* pszValue = getenv(pName->GetText());
        return new CLumsVarValue(pszValue != nullptr ? pszValue : ""); // the caller's now
    }

    // Whatever the program printed is out before the host goes on.
    int PostRunLoop() override
    {
        fflush(stdout);
        return 1;
    }

private:
    std::string m_strSeparator = " ";
};

LUM_IMPLEMENT_DYNCREATE(CConsoleModul, CLumBasicExtModul)

// Registers the class while the library loads, so that it can be created by name.
static CLumBasicExtMeta s_cConsoleMeta(*LUM_RUNTIME_CLASS(CConsoleModul));
