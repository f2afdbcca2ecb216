// The base class of extension modules. A host adds statements and functions to the
// language by deriving from it: once attached to an interpreter (LoadExtModul), a
// module sees every statement token before the built-in handlers, every function
// token that has no built-in, and the start and end of every run. It reads its
// operands from the interpreter's token stream through the forwarders below.
#pragma once

#include <lumbasic/LumBasic.h>
#include <lumbasic/LumBasicExtMeta.h>
#include <lumbasic/LumExport.h>
#include <lumbasic/LumObject.h>

class LUM_API CLumBasicExtModul : public CLumObject
{
    LUM_DECLARE_DYNCREATE(CLumBasicExtModul)
    friend class CLumBasic;

public:
    CLumBasicExtModul() = default;
    ~CLumBasicExtModul() override = default;
    CLumBasicExtModul(const CLumBasicExtModul&) = delete;
    CLumBasicExtModul& operator=(const CLumBasicExtModul&) = delete;

    // Attaches the module to an interpreter; null detaches it. An override must keep
    // GetBasisModul true, by calling this or by replacing it.
    virtual void SetBasisModul(CLumBasic* pBasisModul) { m_pBasisModul = pBasisModul; }
    CLumBasic* GetBasisModul() const { return m_pBasisModul; }
    // A setting of the module. The base class has none: it refuses every setting.
    virtual void SetParm(const char* pszName, const char* pszValue);
    // A setting's value, or null for a name the module does not know.
    virtual const char* GetParm(const char* pszName);

    // A new module of the registered class `pszClassName`, or null.
    static CLumBasicExtModul* CreateInstance(const char* pszClassName)
    {
        return CLumBasicExtMeta::CreateExtModule(pszClassName);
    }

protected:
    // The attached interpreter; fails, naming the module's class, when there is none.
    CLumBasic* GetDefinedBasisModul() const;

    // Hooks around each run of the interpreter: a 0 makes the chain's result 0, and
    // the other modules still get their hook.
    virtual int PreRunLoop() { return 1; }
    virtual int PostRunLoop() { return 1; }
    // A statement token, with the stream at its first operand: 0 consumes the
    // statement, anything else passes it on to the next module and the interpreter.
    virtual int DispatchToken(unsigned short /*wToken*/) { return 1; }
    // A function token, with the stream at its arguments: a value made with new is
    // the function's result and goes to the caller; null passes the token on.
    virtual CLumsVarValue* ExtFunction(unsigned short /*wToken*/) { return nullptr; }

    // The interpreter's operand reading, for use while attached, from within the
    // hooks, DispatchToken and ExtFunction. GetArg's value is the module's to delete.
    int HasArg() { return m_pBasisModul->HasArg(); }
    CLumsVarValue* GetArg(CLumBasic::AusdruckTyp type, int nParam)
    {
        return m_pBasisModul->GetArg(type, nParam);
    }
    void PushParams() { m_pBasisModul->PushParams(); }
    // Runs the following tokens as a nested run loop of the attached interpreter.
    virtual void RunLoop() { m_pBasisModul->RunLoop(); }

private:
    CLumBasic* m_pBasisModul = nullptr;
};
