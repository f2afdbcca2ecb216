// A check for leaks between two runs, as a fuzzer makes one between its inputs, under
// AddressSanitizer's leak checker: with every store gone, nothing the process keeps to
// its end (the shared null values and their text among it) may look leaked.
#include <lumbasic/LumBasic.h>
#include <lumbasic/LumCompile.h>
#include <lumbasic/LumVariables.h>

#include <sanitizer/lsan_interface.h>

#include <cstdio>

int main()
{
    const std::vector<uint8_t> aImage = LumCompile("Sub Main\n"
                                                   "    Dim t$(3)\n"
                                                   "    For i% = 1 To 3\n"
                                                   "        t$(i%) = \"Zeile\" + Str$(i%): s$ = s$ + t$(i%)\n"
                                                   "    Next i%\n"
                                                   "End Sub\n");
    {
        CLumVariables vars;
        CLumBasic basic(&vars, nullptr);
        basic.DoMemory(aImage.data(), aImage.size());
        if (vars.GetValue("s$", nullptr)->GetType() != CLumsVarValue::VT_STRING)
        {
            std::puts("the program made no text");
            return 1;
        }
    }
    return __lsan_do_recoverable_leak_check() == 0 ? 0 : 1;
}
