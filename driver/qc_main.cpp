#include "driver/QcCommandLine.h"

int main(int argc, char** argv)
{
    return RunObsforgeQc(argc, argv);
}
