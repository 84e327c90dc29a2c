// Calls the function that a definition in the test program replaces.

#ifndef TESTS_SUPPORT_NEXT_FUNCTION_H
#define TESTS_SUPPORT_NEXT_FUNCTION_H

#include <dlfcn.h>

// Returns the function of this name in the libraries that come after the program, for
// example the C library's: Next<int(int)>("close")(4). Null if there is none.
template <typename Function>
Function* Next(char const* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

#endif
