// The string functions except base64, in several threads at once. Each thread has texts
// of its own, so a buffer that two of them share shows in the results.

#include <gtest/gtest.h>

#include <string>
#include <unordered_set>
#include <vector>

#include "common/strings/encoders.h"
#include "common/strings/format.h"
#include "common/strings/path_text.h"
#include "common/strings/split.h"
#include "common/strings/text.h"
#include "common/strings/trim.h"
#include "common/strings/wildcard.h"
#include "tests/common/strings/pieces.h"
#include "tests/common/strings/separators.h"
#include "tests/support/in_threads.h"

namespace {

std::size_t const kTimes = 20000;
std::size_t const kTimesOfSlowOnes = 1000;

// Letters of the thread's own: four texts of four lengths.
std::string Letters(std::size_t thread) {
    return std::string(20 + 10 * thread, static_cast<char>('a' + thread));
}

std::wstring WideLetters(std::size_t thread) {
    return std::wstring(20 + 10 * thread, static_cast<wchar_t>(L'a' + thread));
}

TEST(Threads, UrlEncode) {
    EXPECT_EQ(CountWrongInThreads(kTimes,
                                  [](std::size_t thread) {
                                      std::string const text = Letters(thread);
                                      return URLEncode((text + ' ' + text).c_str(),
                                                       true) == text + "%20" + text;
                                  }),
              0);
}

TEST(Threads, NewUuidNeverGivesTheSameTwice) {
    std::unordered_set<std::string> all;
    std::vector<std::string> of_thread[4];
    EXPECT_EQ(CountWrongInThreads(kTimes,
                                  [&](std::size_t thread) {
                                      of_thread[thread].push_back(NewUUID());
                                      return of_thread[thread].back()[14] == '4';
                                  }),
              0);
    for (std::vector<std::string> const& uuids : of_thread) {
        all.insert(uuids.begin(), uuids.end());
    }
    EXPECT_EQ(all.size(), 4 * kTimes);
}

TEST(Threads, OctalToDecimal) {
    EXPECT_EQ(CountWrongInThreads(kTimes,
                                  [](std::size_t thread) {
                                      int const value = static_cast<int>(thread);
                                      return octalToDecimal(7770 + value) == 4088 + value;
                                  }),
              0);
}

TEST(Threads, Format) {
    EXPECT_EQ(CountWrongInThreads(kTimes,
                                  [](std::size_t thread) {
                                      std::string const text = Letters(thread);
                                      return string_format("<%s>", text.c_str()) ==
                                             '<' + text + '>';
                                  }),
              0);
    EXPECT_EQ(CountWrongInThreads(kTimes,
                                  [](std::size_t thread) {
                                      std::wstring const text = WideLetters(thread);
                                      return wstring_format(L"<%ls>", text.c_str()) ==
                                             L'<' + text + L'>';
                                  }),
              0);
}

TEST(Threads, PathTexts) {
    EXPECT_EQ(CountWrongInThreads(
                  kTimes,
                  [](std::size_t thread) {
                      std::string const text = Letters(thread);
                      std::string container;
                      std::string rest;
                      split_container_name("/" + text + "/" + text, container, rest);
                      return container == text && rest == text &&
                             ensure_ends_with_divider(text) == text + '/' &&
                             remove_head_slashes("//" + text) == text &&
                             remove_tail_slashes(text + "//") == text &&
                             remove_duplicated_slashes(text + "//") == text + '/' &&
                             get_file_name("/x/" + text) == text;
                  }),
              0);
}

TEST(Threads, Splitting) {
    std::regex const comma = Separator(",");
    EXPECT_EQ(CountWrongInThreads(kTimesOfSlowOnes,
                                  [&comma](std::size_t thread) {
                                      std::string const piece = Letters(thread);
                                      std::string const text = piece + ',' + piece;
                                      Pieces const expected = {piece, piece};
                                      return split(text, comma) == expected &&
                                             split_delim(text, ",", Same) == expected &&
                                             tokenize(text, ',', Same) == expected &&
                                             tokenize(text, ",", Same) == expected &&
                                             join(expected, ",") == text;
                                  }),
              0);
}

TEST(Threads, SplittingOfWideText) {
    std::wregex const comma = Separator(L",");
    EXPECT_EQ(CountWrongInThreads(kTimesOfSlowOnes,
                                  [&comma](std::size_t thread) {
                                      std::wstring const piece = WideLetters(thread);
                                      std::wstring const text = piece + L',' + piece;
                                      WidePieces const expected = {piece, piece};
                                      return split(text, comma) == expected &&
                                             split_delim(text, L",", WideSame) ==
                                                 expected &&
                                             tokenize(text, L',', WideSame) == expected &&
                                             tokenize(text, L",", WideSame) == expected;
                                  }),
              0);
}

TEST(Threads, SmallChangesAndTests) {
    EXPECT_EQ(CountWrongInThreads(
                  kTimes,
                  [](std::size_t thread) {
                      std::string const text = Letters(thread);
                      std::string padded = ' ' + text + '\n';
                      std::string replaced = text + '-';
                      replace_all(replaced, "-", text);
                      std::wstring wide_replaced = WideLetters(thread) + L'-';
                      replace_all(wide_replaced, L"-", WideLetters(thread));
                      return trim(padded) == text && replaced == text + text &&
                             wide_replaced == WideLetters(thread) + WideLetters(thread) &&
                             ends_with("x" + text, text);
                  }),
              0);
}

TEST(Threads, Wildcards) {
    EXPECT_EQ(
        CountWrongInThreads(
            kTimes,
            [](std::size_t thread) {
                std::string const name = Letters(thread);
                std::string const expression = "*" + name.substr(1);
                std::wstring const wide_name = WideLetters(thread);
                return IsNameInExpressionA(expression.c_str(), name.c_str(), false) &&
                       IsNameInExpression(L"*.x", (wide_name + L".X").c_str(), true);
            }),
        0);
}

}  // namespace
