// Locales, for tests of what must or must not depend on them.

#ifndef TESTS_SUPPORT_LOCALE_IN_USE_H
#define TESTS_SUPPORT_LOCALE_IN_USE_H

#include <functional>

// While it lives, its locale is the global one of the C and of the C++ library;
// afterwards "C" is. Only one may live at a time.
class LocaleInUse {
  public:
    ~LocaleInUse();
    LocaleInUse(LocaleInUse const&) = delete;
    LocaleInUse& operator=(LocaleInUse const&) = delete;

    // UTF-8, with which every wide character can be written. Throws std::runtime_error if
    // the system has no such locale.
    static LocaleInUse Utf8();

    // One byte a character, in which 0xA0 is white space and 0xE9 and 0xC9 are the two
    // cases of a letter. Throws std::runtime_error if the system has no such locale.
    static LocaleInUse OneByte();

  private:
    explicit LocaleInUse(char const* name);
};

// Calls `check` in "C" and in each locale above.
void InEveryLocale(std::function<void()> const& check);

#endif
