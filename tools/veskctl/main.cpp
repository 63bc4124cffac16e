// veskctl
#include "veskctl/cli.h"
#include "veskctl/file_redirect.h"
#include "veskctl/process.h"

int main(int argc, char** argv) {
    veskctl::CliHooks hooks;
    hooks.prepare = [](veskctl::CommandContext& context) {
        context.child.redirectFile = veskctl::redirectFile;
    };
    veskctl::leaveProcess(veskctl::runCli(argc, argv, hooks));
}
