#include "CommandLine.h"

int main(int argc, char** argv) {
    return RtiqnDis::runProgram(argc, argv);
}
