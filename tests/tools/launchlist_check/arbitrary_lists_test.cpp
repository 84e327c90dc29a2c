// Lists of random bytes and tokens: the check ends, and its output has the form that is
// promised.

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "common/json/json_object.h"
#include "harness/files.h"
#include "tools/launchlist_check/list_check.h"
#include "tools/launchlist_check/output.h"

namespace launchlist_check {
namespace {

using Random = std::mt19937;

std::size_t Below(Random& random, std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
}

void ExpectForm(std::string const& bytes) {
    CheckedFile const file = {"list.json", CheckLaunchList(bytes)};
    for (std::string const& line : Lines(ToLines(file))) {
        EXPECT_EQ(line.rfind("list.json:", 0), 0U) << line;
    }
    std::string const json = ToJson({file});
    JsonObject document(json.c_str());
    EXPECT_EQ(document["files"][0]["findings"].GetArraySize(),
              file.result.findings.InOrder().size());
}

TEST(ArbitraryLists, RandomBytesAreReportedOn) {
    Random random(1);
    for (int i = 0; i < 3000; ++i) {
        std::string bytes(Below(random, 60), '\0');
        for (char& byte : bytes) {
            byte = static_cast<char>(Below(random, 256));
        }
        ExpectForm(bytes);
    }
}

TEST(ArbitraryLists, RandomTokensAreReportedOn) {
    char const* const tokens[] = {"{",           "}",           "[",
                                  "]",           ":",           ",",
                                  "\"0\"",       "\"1\"",       "\"\"",
                                  "\"name\"",    "\"a\"",       "\"argc\"",
                                  "\"args\"",    "null",        "true",
                                  "1",           "-1",          "2.5",
                                  "1e99",        "/* c */",     "// c\n",
                                  "\n",          R"("\u0000")", R"("\ud800")",
                                  "\"program\"", "\"/bin/sh\"", R"({"0":{"name":)"};
    Random random(2);
    for (int i = 0; i < 5000; ++i) {
        std::string text = i % 2 == 0 ? "{\"0\":{" : "";
        for (std::size_t n = Below(random, 24); n > 0; --n) {
            text += tokens[Below(random, std::size(tokens))];
        }
        ExpectForm(text);
    }
}

TEST(ArbitraryLists, ARightListWithBytesChangedIsReportedOn) {
    std::string const list =
        R"({"0": {"name": "a\n", "program": "/bin/sh", "argc": 2, "args": {"0": "x", "1": 7}},
            // the next
            "1": {"name": "b\u00e9", "program": "/usr/bin/env", "argc": 0}})";
    Random random(3);
    for (int i = 0; i < 5000; ++i) {
        std::string changed = list;
        for (std::size_t n = 1 + Below(random, 4); n > 0; --n) {
            std::size_t const place = Below(random, changed.size());
            switch (Below(random, 3)) {
                case 0:
                    changed[place] = static_cast<char>(Below(random, 256));
                    break;
                case 1:
                    changed.erase(place, 1 + Below(random, 8));
                    break;
                default:
                    changed.insert(place,
                                   changed.substr(Below(random, changed.size()), 8));
            }
        }
        ExpectForm(changed);
    }
}

TEST(ArbitraryLists, ManyRepeatedKeysOnOneLineTakeNoLongerThanTheirNumber) {
    std::string list = R"({"0": {"name": "a", "program": "/bin/sh")";
    for (int i = 0; i < 100000; ++i) {
        list += R"(, "argc": 0)";
    }
    EXPECT_EQ(CheckLaunchList(list + "}}").findings.Count(Severity::Error), 99999U);
}

}  // namespace
}  // namespace launchlist_check
