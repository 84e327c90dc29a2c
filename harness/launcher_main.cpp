// The main of a launcher that is made of the sources that tests link: there main has
// another name.

#include "harness/launcher_main.h"

int main(int argc, char** argv) {
    return launcher_main(argc, argv);
}
