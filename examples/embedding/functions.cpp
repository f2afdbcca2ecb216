// Adds a function and a statement in one call each and runs a program using them, bounded.
#include <lumbasic/LumBasic.h>
#include <lumbasic/LumCompile.h>
#include <cstdio>

int main(int argc, char** argv)
{
    CLumVariables vars;
    vars.SetValuesFromString(("S:country$=" + std::string(argc > 1 ? argv[1] : "DE") + "\n").c_str());
    CLumBasic basic(&vars, nullptr);
    basic.RegisterFunction("Rate", 1, [](CLumHostArgs& args) { // Rate(country$): its tax rate
        if (args.GetText(1) != "DE")
            throw CLumsException("Kein Steuersatz für " + args.GetText(1));
        return CLumsVarValue(0.19);
    });
    basic.RegisterStatement("Log", 1, [](CLumHostArgs& a) { printf("log: %s\n", a.GetValue(1).GetText()); });
    basic.SetStatementLimit(1000);
    try
    {
        auto image =
            LumCompile("Sub Main\n gross = 100 * (1 + Rate(country$))\n Log gross\nEnd Sub\n", basic);
        basic.DoMemory(image.data(), image.size()); // the compiler knew Rate and Log from basic
        printf("gross = %.2f\n", vars.GetValue("gross", nullptr)->GetDouble());
    }
    catch (const CLumsException& e)
    {
        fputs(LumFailureReport(e, "tax.lbd").c_str(), stderr); // tax.lbd:2: Kein Steuersatz für CH
        return 1;
    }
}
