#include "tests/support/locale_in_use.h"

#include <locale>

LocaleInUse::LocaleInUse(char const* name) {
    std::locale::global(std::locale(name));
}

LocaleInUse::~LocaleInUse() {
    std::locale::global(std::locale::classic());
}

void InEveryLocale(std::function<void()> const& check) {
    check();
    {
        LocaleInUse const locale = LocaleInUse::Utf8();
        check();
    }
    LocaleInUse const locale = LocaleInUse::OneByte();
    check();
}
