#ifndef HARNESS_LAUNCHER_MAIN_H
#define HARNESS_LAUNCHER_MAIN_H

// The launcher's main, under the name that it has where tests are linked with its
// sources.
int launcher_main(int argc, char** argv);

#endif
