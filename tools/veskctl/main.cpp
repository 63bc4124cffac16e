// veskctl
#include "veskctl/cli.h"
#include "veskctl/process.h"

int main(int argc, char** argv) {
    veskctl::leaveProcess(veskctl::runCli(argc, argv, veskctl::CliHooks()));
}
