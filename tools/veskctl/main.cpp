// veskctl
#include "veskctl/cli.h"
#include "veskctl/leave_process.h"

int main(int argc, char** argv) {
    veskctl::leaveProcess(veskctl::runCli(argc, argv, veskctl::CliHooks()));
}
