#include "tests/support/locale_in_use.h"

#include <cstdlib>

// The C library does not free what it makes of LOCPATH.
extern "C" char const* __lsan_default_suppressions() {
    return "leak:argz_add_sep";
}

LocaleInUse LocaleInUse::Utf8() {
    unsetenv("LOCPATH");
    return LocaleInUse("C.UTF-8");
}

// The build makes this locale, since a machine may have none of its kind.
LocaleInUse LocaleInUse::OneByte() {
    setenv("LOCPATH", TEST_LOCALES, 1);
    return LocaleInUse("one_byte");
}
