// A minimal host: run an image, read a variable, report a failure's trail.
#include <lumbasic/LumBasic.h>

#include <cstdio>

int main(int argc, char** argv)
{
    if (argc != 2)
    {
        fprintf(stderr, "usage: host IMAGE\n");
        return 2;
    }
    CLumVariables vars; // the host keeps the store
    vars.SetValuesFromString("D:price=19.99\n");
    CLumBasic basic(&vars, nullptr); // the interpreter makes its own procedure table
    try
    {
        basic.Do(argv[1]); // runs the image; a host may run again
        printf("total = %f\n", vars.GetValue("total", nullptr)->GetDouble());
    }
    catch (const CLumsException& e)
    {
        for (const std::string& line : e.GetTrail()) // or e.what(): the lines joined
            fprintf(stderr, "%s\n", line.c_str());
        return 1;
    }
    return 0;
}
