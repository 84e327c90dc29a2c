// Replaces the C library's tolower, which depends on the process's locale: some machines
// have no locale but "C".
//
// The headers of the C library may define it too, and are not included.

bool process_lowers_i_otherwise = false;

extern "C" int tolower(int character) noexcept {
    if (process_lowers_i_otherwise && character == 'I') {
        return 0xFD;
    }
    bool const is_upper = character >= 'A' && character <= 'Z';
    return is_upper ? character + ('a' - 'A') : character;
}
