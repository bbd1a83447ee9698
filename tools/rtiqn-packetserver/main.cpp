#include "CommandLine.h"

int main(int argc, char** argv) {
    return RtiqnPacketServer::runProgram(argc, argv);
}
