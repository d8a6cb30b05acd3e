#include "driver/CommandLine.h"

int main(int argc, char** argv)
{
    return RunObsforge(argc, argv);
}
