/* Preloaded in front of the simulated host: says when the program itself sleeps, and makes it
   short. The library's thread sleeps for longer than any program of examples/. */
#define _DEFAULT_SOURCE
#include <string.h>
#include <unistd.h>

unsigned sleep(unsigned seconds) {
    const char said[] = "slept\n";
    if (seconds < 50) {
        (void)!write(STDERR_FILENO, said, strlen(said));
    }
    usleep(1000);
    return 0;
}
