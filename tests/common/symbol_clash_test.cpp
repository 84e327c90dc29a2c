// Many programs have a function of their own that is called trim, as this one has. The
// JSON writer and the INI reader must still use the library's.

#include <gtest/gtest.h>

#include <string>

#include "common/config/profile_reader.h"
#include "common/json/json_object.h"
#include "harness/files.h"

int g_calls = 0;

std::string& trim(std::string& text) {
    ++g_calls;
    return text = "of the program";
}

namespace {

TEST(OwnTrim, DoesNotTakeThePlaceOfTheLibrarys) {
    JsonObject document(R"({"a":1})");
    EXPECT_EQ(document.ToText(), R"({"a":1})");
    EXPECT_EQ(document.ToStyledText(), "{\n   \"a\" : 1\n}");

    TempDirectory const directory;
    std::string const file = directory.Write("log.ini", " [ LOG ] \n LEVEL=8 \n");
    char buffer[16];
    EXPECT_EQ(GetPrivateProfileString("log", "level", "none", buffer, 16, file), 1);
    EXPECT_STREQ(buffer, "8");
    EXPECT_EQ(GetPrivateProfileInt(" log ", "level", 0, file), 8);
    EXPECT_EQ(g_calls, 0);

    std::string text = " a ";
    EXPECT_EQ(trim(text), "of the program");
}

}  // namespace
