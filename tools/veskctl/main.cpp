// veskctl
#include "veskctl/cli.h"
#include "veskctl/file_redirect.h"
#include "veskctl/log_reads.h"
#include "veskctl/process.h"

int main(int argc, char** argv) {
    veskctl::CliHooks hooks;
    hooks.prepare = [](veskctl::CommandContext& context) {
        context.child.redirectFile = veskctl::redirectFile;
        context.child.logReads = veskctl::logReads;
    };
    veskctl::leaveProcess(veskctl::runCli(argc, argv, hooks));
}
