#include "CommandLine.h"

int main(int argc, char** argv) {
    return RtiqnFom::runProgram(argc, argv);
}
