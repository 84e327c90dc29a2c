#include "common/config/profile_reader.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <locale>
#include <string>

#include "harness/files.h"

// While it is set, the process's locale has a lower-case "I" of its own; see
// process_tolower.cpp.
extern bool process_lowers_i_otherwise;

namespace {

using namespace std::string_literals;

char const kUntouched = '#';

// What the reader returned and what it left in the buffer.
struct Placed {
    std::size_t length;
    std::string buffer;
};

bool operator==(Placed const& a, Placed const& b) {
    return a.length == b.length && a.buffer == b.buffer;
}

std::ostream& operator<<(std::ostream& out, Placed const& placed) {
    return out << placed.length << " " << testing::PrintToString(placed.buffer);
}

class ProfileReader : public testing::Test {
  protected:
    // Returns the value in a file of these contents, "fallback" if it has none.
    std::string Value(std::string const& contents, std::string const& section,
                      std::string const& key) const {
        std::string buffer(5000, kUntouched);
        std::size_t const length = GetPrivateProfileString(
            section, key, "fallback", buffer.data(), static_cast<int>(buffer.size()),
            directory.Write("profile.ini", contents));
        EXPECT_LT(length, buffer.size());
        EXPECT_EQ(buffer[length], '\0');
        EXPECT_EQ(buffer.find_first_not_of(kUntouched, length + 1), std::string::npos);
        return buffer.substr(0, length);
    }

    int Number(std::string const& contents) const {
        return GetPrivateProfileInt("S", "K", 99,
                                    directory.Write("profile.ini", contents));
    }

    // Returns what is placed in a buffer that says it has `size` bytes and has 20.
    Placed PlacedIn(int size, std::string const& contents,
                    std::string const& fallback) const {
        std::string buffer(20, kUntouched);
        std::size_t const length =
            GetPrivateProfileString("S", "K", fallback, buffer.data(), size,
                                    directory.Write("profile.ini", contents));
        return {length, buffer};
    }

    TempDirectory const directory;
    std::string const missing = directory.Path() / "missing.ini";
};

Placed Untouched() {
    return {0, std::string(20, kUntouched)};
}

Placed Copied(std::string const& text) {
    std::string const copy = text + '\0';
    return {text.size(), copy + std::string(20 - copy.size(), kUntouched)};
}

TEST_F(ProfileReader, TheExampleOfItsHeader) {
    std::string const path = directory.Write("log.ini", "[LOG]\nLEVEL=DEBUG\n");
    char level[16];
    EXPECT_EQ(GetPrivateProfileString("log", "level", "ERROR", level, 16, path), 5U);
    EXPECT_STREQ(level, "DEBUG");
    EXPECT_EQ(GetPrivateProfileInt("log", "retries", 3, path), 0);
}

TEST_F(ProfileReader, LinesAreTrimmedWhateverTheirEnds) {
    EXPECT_EQ(Value("[S]\nK=v\n", "S", "K"), "v");
    EXPECT_EQ(Value("[S]\r\nK=v\r\n", "S", "K"), "v");
    EXPECT_EQ(Value("[S]\nK=v", "S", "K"), "v");
    EXPECT_EQ(Value("[S]\r\nK=v\r", "S", "K"), "v");
    EXPECT_EQ(Value(" \t\v\f\r[S]\t \r\f\v\n \t\v\f\rK=v \t\v\f\r\n", "S", "K"), "v");
    EXPECT_EQ(Value("\n \n\t\n[S]\n\n  \r\n\nK=v\n", "S", "K"), "v");
}

TEST_F(ProfileReader, BytesWithTheHighBitAreNeverTrimmed) {
    EXPECT_EQ(Value("[S]\nK=\xA0v\xA0\n", "S", "K"), "\xA0v\xA0");
    EXPECT_EQ(Value("[S]\nK=v\xC2\x85 \n", "S", "K"), "v\xC2\x85");
    EXPECT_EQ(Value("[S]\n\xA0K=v\n", "S", "K"), "fallback");
    EXPECT_EQ(Value("\xEF\xBB\xBF[S]\nK=v\n", "S", "K"), "fallback");
}

TEST_F(ProfileReader, OtherControlBytesAreNoBlanks) {
    EXPECT_EQ(Value("[S]\nK=v\x1C\n", "S", "K"), "v\x1C");
    EXPECT_EQ(Value("[S]\n\x08K=v\n", "S", "K"), "fallback");
}

TEST_F(ProfileReader, AHeaderIsWhatStandsBetweenTheBracketsOfAWholeLine) {
    EXPECT_EQ(Value("[ S\t]\nK=v\n", "S", "K"), "v");
    EXPECT_EQ(Value("[A B]\nK=v\n", "A B", "K"), "v");
    EXPECT_EQ(Value("[S]]\nK=v\n", "S]", "K"), "v");
    EXPECT_EQ(Value("[[S]\nK=v\n", "[S", "K"), "v");
    EXPECT_EQ(Value("[]]\nK=v\n", "]", "K"), "v");
    for (char const* const header :
         {"[S", "[Sx", "S]", "xS]", "S", "[S]x", "x[S]", "[S] ;", "[ S S ]", "[S S]",
          "[SS]", "(S)", "[[S]]"}) {
        EXPECT_EQ(Value(header + "\nK=v\n"s, "S", "K"), "fallback") << header;
    }
}

TEST_F(ProfileReader, ABlankBetweenBracketsIsTheEmptyNameAndBracketsAloneAreNoHeader) {
    EXPECT_EQ(Value("[ ]\nK=v\n", "", "K"), "v");
    EXPECT_EQ(Value("[\t ]\nK=v\n", " ", "K"), "v");
    EXPECT_EQ(Value("[]\nK=v\n", "", "K"), "fallback");
    EXPECT_EQ(Value("[]\nK=v\n[ ]\nK=w\n", "", "K"), "w");
}

TEST_F(ProfileReader, TheRequestedSectionIsTrimmedAndTheRequestedKeyIsNot) {
    std::string const contents = "[S]\nK=v\n";
    EXPECT_EQ(Value(contents, " \tS\r\n", "K"), "v");
    EXPECT_EQ(Value(contents, "S", " K"), "fallback");
    EXPECT_EQ(Value(contents, "S", "K "), "fallback");
    EXPECT_EQ(Value(contents, "[S]", "K"), "fallback");
    EXPECT_EQ(Value("[S]\nK =v\n", "S", "K "), "v");
}

TEST_F(ProfileReader, SectionsAndKeysAreFoundInAnyCaseAndValuesKeepTheirs) {
    EXPECT_EQ(Value("[Log]\nLeVel=DeBuG\n", "lOG", "lEvEL"), "DeBuG");
    EXPECT_EQ(Value("[AZaz@[`{]\nAZaz@[`{=v\n", "azAZ@[`{", "azAZ@[`{"), "v");
    EXPECT_EQ(Value("[@]\nK=v\n", "`", "K"), "fallback");
    EXPECT_EQ(Value("[s]\n@=v\n", "S", "`"), "fallback");
}

TEST_F(ProfileReader, OnlyLettersOfAsciiHaveACase) {
    EXPECT_EQ(Value("[\xC9]\nK=v\n", "\xC9", "K"), "v");
    EXPECT_EQ(Value("[\xC9]\nK=v\n", "\xE9", "K"), "fallback");
    EXPECT_EQ(Value("[S]\n\xC3\x89=v\n", "S", "\xC3\x89"), "v");
    EXPECT_EQ(Value("[S]\n\xC3\x89=v\n", "S", "\xC3\xA9"), "fallback");
}

// Lowers "I" in another way than the classic locale does.
class OtherCase : public std::ctype<char> {
  protected:
    using std::ctype<char>::do_tolower;
    char do_tolower(char c) const override { return c == 'I' ? '\xFD' : c; }
    char const* do_tolower(char* first, char const* last) const override {
        std::transform(static_cast<char const*>(first), last, first,
                       [this](char c) { return do_tolower(c); });
        return last;
    }
};

TEST_F(ProfileReader, TheLocaleOfTheProgramPlaysNoPart) {
    std::locale const before =
        std::locale::global(std::locale(std::locale::classic(), new OtherCase));
    EXPECT_EQ(Value("[TITLE]\nSIZE=v\n", "title", "size"), "v");
    EXPECT_EQ(Value("[title]\nsize=v\n", "TITLE", "SIZE"), "v");
    std::locale::global(before);
}

TEST_F(ProfileReader, TheLocaleOfTheProcessPlaysNoPart) {
    process_lowers_i_otherwise = true;
    EXPECT_EQ(Value("[TITLE]\nSIZE=v\n", "title", "size"), "v");
    EXPECT_EQ(Value("[title]\nsize=v\n", "TITLE", "SIZE"), "v");
    process_lowers_i_otherwise = false;
}

TEST_F(ProfileReader, TheKeyEndsAtTheFirstEqualsSignAndTheValueAtTheNext) {
    EXPECT_EQ(Value("[S]\nK=a=b\n", "S", "K"), "a");
    EXPECT_EQ(Value("[S]\nK=a=\n", "S", "K"), "a");
    EXPECT_EQ(Value("[S]\nK=a==b\n", "S", "K"), "a");
    EXPECT_EQ(Value("[S]\nK=a=K=b\nK=c\n", "S", "K"), "a");
    EXPECT_EQ(Value("[S]\nx=K=v\n", "S", "K"), "fallback");
    EXPECT_EQ(Value("[S]\nx=K\nK=v\n", "S", "x=K"), "fallback");
}

TEST_F(ProfileReader, BlanksAroundTheEqualsSignBelongToKeyAndValue) {
    EXPECT_EQ(Value("[S]\nK = v\n", "S", "K"), "fallback");
    EXPECT_EQ(Value("[S]\nK =v\n", "S", "K"), "fallback");
    EXPECT_EQ(Value("[S]\nK= v\n", "S", "K"), " v");
    EXPECT_EQ(Value("[S]\nK= a b \t\n", "S", "K"), " a b");
    EXPECT_EQ(Value("[S]\nK= a =b\n", "S", "K"), " a ");
}

TEST_F(ProfileReader, NothingAfterTheOnlyEqualsSignIsNoEntry) {
    EXPECT_EQ(Value("[S]\nK=\n", "S", "K"), "fallback");
    EXPECT_EQ(Value("[S]\nK= \t\n", "S", "K"), "fallback");
    EXPECT_EQ(Value("[S]\nK=\nK=v\n", "S", "K"), "v");
    EXPECT_EQ(Value("[S]\nK\nK=v\n", "S", "K"), "v");
    EXPECT_EQ(Value("[S]\n=\n==\nK=v\n", "S", "K"), "v");
}

TEST_F(ProfileReader,
       AnEmptyValueBeforeASecondEqualsSignIsFoundAndReplacedByTheFallback) {
    EXPECT_EQ(Value("[S]\nK==x\n", "S", "K"), "fallback");
    EXPECT_EQ(Value("[S]\nK==x\nK=v\n", "S", "K"), "fallback");
    EXPECT_EQ(Value("[S]\nK==\nK=v\n", "S", "K"), "fallback");
}

TEST_F(ProfileReader, TheEmptyKeyIsAKey) {
    EXPECT_EQ(Value("[S]\n=v\n", "S", ""), "v");
    EXPECT_EQ(Value("[S]\nK=v\n", "S", ""), "fallback");
}

TEST_F(ProfileReader, ThereAreNoComments) {
    EXPECT_EQ(Value("[S]\n;K=a\n#K=b\n//K=c\nK=v;w#x\n", "S", "K"), "v;w#x");
    EXPECT_EQ(Value("[S]\n;K=a\n", "S", ";K"), "a");
    EXPECT_EQ(Value("[S];\nK=v\n", "S", "K"), "fallback");
}

TEST_F(ProfileReader, LinesBeforeTheFirstHeaderAreNotLookedAt) {
    EXPECT_EQ(Value("K=v\n", "S", "K"), "fallback");
    EXPECT_EQ(Value("K=v\n", "", "K"), "fallback");
    EXPECT_EQ(Value("K=v\n[S]\nK=w\n", "S", "K"), "w");
}

TEST_F(ProfileReader, OtherSectionsAreSkipped) {
    std::string const contents = "[A]\nK=a\n[B]\nK=b\nL=l\n[C]\nK=c\n";
    EXPECT_EQ(Value(contents, "A", "K"), "a");
    EXPECT_EQ(Value(contents, "B", "K"), "b");
    EXPECT_EQ(Value(contents, "B", "L"), "l");
    EXPECT_EQ(Value(contents, "C", "K"), "c");
    EXPECT_EQ(Value(contents, "A", "L"), "fallback");
    EXPECT_EQ(Value(contents, "D", "K"), "fallback");
}

TEST_F(ProfileReader, OnlyTheFirstSectionOfANameAndTheFirstEntryOfAKeyCount) {
    EXPECT_EQ(Value("[S]\nA=1\n[S]\nK=v\n", "S", "K"), "fallback");
    EXPECT_EQ(Value("[S]\n[T]\n[s]\nK=v\n", "S", "K"), "fallback");
    EXPECT_EQ(Value("[S]\nK=first\nk=second\n", "S", "K"), "first");
}

TEST_F(ProfileReader, ALineThatBeginsWithABracketEndsTheSection) {
    for (char const* const line : {"[T]", "[", "[T", "[]", "[ ]", "[K=x", " [T", "[S]"}) {
        EXPECT_EQ(Value("[S]\n"s + line + "\nK=v\n", "S", "K"), "fallback") << line;
    }
    EXPECT_EQ(Value("[S]\nT]\nx[\nK=v\n", "S", "K"), "v");
    EXPECT_EQ(Value("[S]\n[K=v\n", "S", "[K"), "fallback");
}

TEST_F(ProfileReader, AFileWithoutTheEntryGivesTheFallback) {
    for (char const* const contents : {"", "\n", "[S]", "[S]\n", "[S]\nJ=v\n", "x"}) {
        EXPECT_EQ(Value(contents, "S", "K"), "fallback") << contents;
    }
}

TEST_F(ProfileReader, ALineIsReadInPiecesOf2047BytesThatAreLinesEach) {
    std::string const whole(2043, 'v');
    EXPECT_EQ(Value("[S]\nA=1\nKEY=" + whole + "\n", "S", "KEY"), whole);
    EXPECT_EQ(Value("[S]\nKEY=" + whole + "w\n", "S", "KEY"), whole);
    EXPECT_EQ(Value("[S]\nKEY=" + whole + "L=m\n", "S", "L"), "m");
    EXPECT_EQ(Value("[S]\n" + std::string(2047, 'x') + "K=v\n", "S", "K"), "v");
    EXPECT_EQ(Value("[S]\n" + std::string(2046, 'x') + "KEY=v\n", "S", "EY"), "v");
    EXPECT_EQ(Value("[S]\n" + std::string(2048, 'x') + "K=v\n", "S", "K"), "fallback");
    EXPECT_EQ(Value(std::string(2047, 'x') + "[S]\nK=v\n", "S", "K"), "v");
    EXPECT_EQ(Value("[S]\n" + std::string(2047, 'x') + "[T]\nK=v\n", "S", "K"),
              "fallback");
    EXPECT_EQ(Value("[S]\n" + std::string(3UL * 2047, ' ') + "K=v\n", "S", "K"), "v");
}

TEST_F(ProfileReader, ALineEndsAtItsFirstNul) {
    EXPECT_EQ(Value("[S]\nK=a\0b\nL=c\n"s, "S", "K"), "a");
    EXPECT_EQ(Value("[S]\nK=a\0b\nL=c\n"s, "S", "L"), "c");
    EXPECT_EQ(Value("[S]\0x\nK=v\n"s, "S", "K"), "v");
    EXPECT_EQ(Value("[S\0]\nK=v\n"s, "S", "K"), "fallback");
    EXPECT_EQ(Value("[S]\n\0[T]\nK=v\n"s, "S", "K"), "v");
    EXPECT_EQ(Value("[S]\n\0K=u\nK=v\n"s, "S", "K"), "v");
}

TEST_F(ProfileReader, AnyBytesAreReadToTheEnd) {
    std::string junk;
    for (int byte = 0; byte < 256; ++byte) {
        junk += byte == '[' ? ' ' : static_cast<char>(byte);
    }
    EXPECT_EQ(Value("[S]\n" + junk + junk + "\nK=v\n", "S", "K"), "v");
}

TEST_F(ProfileReader, AValueIsCopiedIfItsTerminatorFitsToo) {
    std::string const contents = "[S]\nK=DEBUG\n";
    EXPECT_EQ(PlacedIn(20, contents, "ERROR"), Copied("DEBUG"));
    EXPECT_EQ(PlacedIn(6, contents, "ERROR"), Copied("DEBUG"));
    EXPECT_EQ(PlacedIn(5, contents, "ERR"), Copied("ERR"));
    EXPECT_EQ(PlacedIn(5, contents, "WARN"), Copied("WARN"));
    EXPECT_EQ(PlacedIn(5, contents, "ERROR"), Untouched());
    EXPECT_EQ(PlacedIn(2, contents, ""), Copied(""));
}

TEST_F(ProfileReader, AValueThatDoesNotFitEndsTheSearchToo) {
    EXPECT_EQ(PlacedIn(5, "[S]\nK=DEBUG\nK=ok\n[S]\nK=no\n", "ERR"), Copied("ERR"));
    EXPECT_EQ(PlacedIn(5, "[S]\nK=DEBUG\nK=ok\n[S]\nK=no\n", "ERROR"), Untouched());
}

TEST_F(ProfileReader, AFallbackIsCopiedIfItsTerminatorFitsToo) {
    for (char const* const contents : {"", "[S]\n", "[S]\nJ=v\n", "[S]\nK=\n"}) {
        EXPECT_EQ(PlacedIn(20, contents, "ERROR"), Copied("ERROR")) << contents;
        EXPECT_EQ(PlacedIn(6, contents, "ERROR"), Copied("ERROR")) << contents;
        EXPECT_EQ(PlacedIn(5, contents, "ERROR"), Untouched()) << contents;
        EXPECT_EQ(PlacedIn(1, contents, "E"), Untouched()) << contents;
        EXPECT_EQ(PlacedIn(1, contents, ""), Copied("")) << contents;
    }
}

TEST_F(ProfileReader, AnEmptyValueLeavesItsTerminatorIfTheFallbackDoesNotFit) {
    EXPECT_EQ(PlacedIn(20, "[S]\nK==v\n", "ERROR"), Copied("ERROR"));
    EXPECT_EQ(PlacedIn(5, "[S]\nK==v\n", "ERROR"), Copied(""));
}

TEST_F(ProfileReader, ABufferOfNoSizeIsNotTouched) {
    for (int const size : {0, -1, -20, INT_MIN}) {
        EXPECT_EQ(PlacedIn(size, "[S]\nK=v\n", "f"), Untouched()) << size;
        EXPECT_EQ(PlacedIn(size, "", ""), Untouched()) << size;
    }
    std::string const path = directory.Write("profile.ini", "[S]\nK=v\n");
    EXPECT_EQ(GetPrivateProfileString("S", "K", "f", nullptr, 20, path), 0U);
    EXPECT_EQ(GetPrivateProfileString("S", "K", "f", nullptr, 0, path), 0U);
    EXPECT_EQ(GetPrivateProfileString("S", "K", "f", nullptr, 20, missing), 0U);
}

TEST_F(ProfileReader, WithoutABufferTheFileIsNotOpened) {
    // To open it would mean to wait for somebody who writes.
    std::string const pipe = directory.Path() / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    char buffer[20];
    EXPECT_EQ(GetPrivateProfileString("S", "K", "f", buffer, 0, pipe), 0U);
    EXPECT_EQ(GetPrivateProfileString("S", "K", "f", nullptr, 20, pipe), 0U);
}

TEST_F(ProfileReader, AFileThatCannotBeOpenedGivesTheFallbackAndIsNotMade) {
    for (std::string const& path :
         {missing, missing + "/below", ""s, directory.Write("file", "") + "/below"}) {
        char buffer[20];
        EXPECT_EQ(GetPrivateProfileString("S", "K", "f", buffer, 20, path), 1U) << path;
        EXPECT_STREQ(buffer, "f");
        EXPECT_EQ(GetPrivateProfileInt("S", "K", 99, path), 99) << path;
    }
    EXPECT_FALSE(std::filesystem::exists(missing));
}

// fopen opens a directory; then every read fails.
TEST_F(ProfileReader, AReadErrorEndsTheFile) {
    char buffer[20];
    EXPECT_EQ(
        GetPrivateProfileString("S", "K", "f", buffer, 20, directory.Path().string()),
        1U);
    EXPECT_STREQ(buffer, "f");
    EXPECT_EQ(GetPrivateProfileInt("S", "K", 99, directory.Path().string()), 0);
}

int LowestFreeDescriptor() {
    int const descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
    close(descriptor);
    return descriptor;
}

TEST_F(ProfileReader, EveryFileIsClosed) {
    int const before = LowestFreeDescriptor();
    EXPECT_EQ(Value("[S]\nK=v\n", "S", "K"), "v");
    EXPECT_EQ(Value("[S]\n", "S", "K"), "fallback");
    EXPECT_EQ(Number("[S]\nK=7\n"), 7);
    EXPECT_EQ(Number(""), 0);
    EXPECT_EQ(LowestFreeDescriptor(), before);
}

TEST_F(ProfileReader, EveryCallReadsTheFileAnew) {
    EXPECT_EQ(Value("[S]\nK=old\n", "S", "K"), "old");
    EXPECT_EQ(Value("[S]\nK=new\n", "S", "K"), "new");
}

TEST_F(ProfileReader, ANumberIsReadAsAtoiReadsIt) {
    struct {
        char const* value;
        int number;
    } const cases[] = {{"0", 0},
                       {"7", 7},
                       {"-1", -1},
                       {"+5", 5},
                       {" \t12", 12},
                       {"12abc", 12},
                       {"12 34", 12},
                       {"1.9", 1},
                       {"0x10", 0},
                       {"010", 10},
                       {"abc", 0},
                       {"-", 0},
                       {"- 1", 0},
                       {"--1", 0},
                       {"2147483647", 2147483647},
                       {"-2147483648", INT_MIN},
                       {"5=6", 5},
                       {"=6", 0}};
    for (auto const& [value, number] : cases) {
        EXPECT_EQ(Number("[S]\nK="s + value + "\n"), number) << value;
    }
    EXPECT_EQ(Number("[S]\nK=" + std::string(1500, '0') + "42\n"), 42);
}

TEST_F(ProfileReader, ANumberWithoutAnEntryIsZeroInAFileAndTheFallbackWithoutOne) {
    for (char const* const contents : {"", "[S]\n", "[S]\nJ=7\n", "[T]\nK=7\n", "K=7\n",
                                       "[S]\nK=\n", "[S]\nK =7\n", "[S]\n[T]\nK=7\n"}) {
        EXPECT_EQ(Number(contents), 0) << contents;
    }
    EXPECT_EQ(GetPrivateProfileInt("S", "K", 99, missing), 99);
    EXPECT_EQ(GetPrivateProfileInt("S", "K", 0, missing), 0);
    EXPECT_EQ(GetPrivateProfileInt("S", "K", 2147483648U, missing), INT_MIN);
    EXPECT_EQ(GetPrivateProfileInt("S", "K", 4294967295U, missing), -1);
}

TEST_F(ProfileReader, ANumberIsFoundByTheSameRulesAsAText) {
    EXPECT_EQ(Number("K=1\n[T]\nK=2\n[ s ]\r\nk=3\r\nK=4\n"), 3);
    std::string const path = directory.Write("profile.ini", "[ S ]\nK=5\n");
    EXPECT_EQ(GetPrivateProfileInt("\ts ", "k", 99, path), 5);
    EXPECT_EQ(GetPrivateProfileInt("s", "k ", 99, path), 0);
}

}  // namespace
