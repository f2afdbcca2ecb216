// A minimal host: run an image, or compile a program in memory and run that; read a
// variable; report a failure as a person reads it.
#include <lumbasic/LumBasic.h>
#include <lumbasic/LumCompile.h>

#include <cstdint>
#include <cstdio>
#include <vector>

// The program of price.lbd, as a host may hold it in a string.
static const char* const SOURCE = "Sub Main\n"
                                  "    total = Round(price * 1.19, 2, 2)\n"
                                  "End Sub\n";

int main(int argc, char** argv)
{
    if (argc > 2)
    {
        fprintf(stderr, "usage: host [IMAGE]\n");
        return 2;
    }
    CLumVariables vars; // the host keeps the store
    vars.SetValuesFromString("D:price=19.99\n");
    CLumBasic basic(&vars, nullptr); // the interpreter makes its own procedure table
    try
    {
        if (argc == 2)
            basic.Do(argv[1]); // runs the image file; a host may run again
        else
        {
            std::vector<uint8_t> aImage = LumCompile(SOURCE); // no file is read or written
            basic.DoMemory(aImage.data(), aImage.size());
        }
        printf("total = %.2f\n", vars.GetValue("total", nullptr)->GetDouble());
    }
    catch (const CLumsException& e) // a failed run, or the errors of the source
    {
        // "price.lbd:2: Division durch Null." and the calls that led there; the whole
        // trail, every frame's labels too, is e.GetTrail().
        fputs(LumFailureReport(e, argc == 2 ? argv[1] : "price.lbd").c_str(), stderr);
        return 1;
    }
    return 0;
}
