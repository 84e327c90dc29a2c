#include "tests/support/locale_in_use.h"

LocaleInUse LocaleInUse::Utf8() {
    return LocaleInUse("en_US.UTF-8");
}

LocaleInUse LocaleInUse::OneByte() {
    return LocaleInUse("en_US.ISO8859-1");
}
