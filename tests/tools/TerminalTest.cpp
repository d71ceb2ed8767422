// SPDX-License-Identifier: Apache-2.0
// Texts and tables on a terminal.
#include "terminal/Terminal.h"

#include "terminal/Table.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <tuple>

namespace Tool
{

TEST(TerminalTest, TextsAreMadeHarmlessAndMeasured)
{
    const std::tuple<std::string, std::string, std::size_t> rows[] = {
        // text, what is shown, columns
        {"", "", 0},
        {std::string(1, '\0') + "\033[31m\n\177 ~", "??[31m?? ~", 10},
        {"\u009b31m\u202e\u200b\u2028\ufeff\u2060\u206f", "?31m??????", 10}, // C1, direction, separators, invisible
        {"\u00b0C \u0416 \u2588", "\u00b0C \u0416 \u2588", 6},
        {"\u6e29\u5ea6\ud55c\uff21\U0001f525", "\u6e29\u5ea6\ud55c\uff21\U0001f525", 10}, // two columns each
        {"e\u0301\u20d7\ufe0f", "e\u0301\u20d7\ufe0f", 1},                                // marks take none
        {"\xc3(\x80\xff\xf8", "?(???", 5},                                                // broken
        {"\xc0\xaf\xe0\x80\xaf", "?????", 5},                                             // longer than need be
        {"\xed\xa0\x80\xf4\x90\x80\x80", "???????", 7}, // a surrogate, beyond the last
        {"\xe6\xb8", "??", 2},                          // cut
    };
    for (const auto& [text, shown, columns] : rows) {
        EXPECT_EQ(printable(text), shown);
        EXPECT_EQ(columnsOf(shown), columns) << shown;
    }
}

TEST(TerminalTest, LinesAreCutByColumns)
{
    // What would fit behind the first that does not is cut too.
    const std::tuple<std::string, std::size_t, std::string> rows[] = {{"abc", 3, "abc"},
                                                                      {"abc", 2, "ab"},
                                                                      {"abc", 0, ""},
                                                                      {"\u6e29\u5ea6", 3, "\u6e29"},
                                                                      {"a\u6e29b", 2, "a"},
                                                                      {"\033[31mabc\033[0md", 2, "\033[31mab\033[0m"},
                                                                      {"e\u0301f", 1, "e\u0301"}};
    for (const auto& [line, columns, kept] : rows)
        EXPECT_EQ(cutTo(line, columns), kept) << line;
}

TEST(TerminalTest, TheLocaleOfTheFirstVariableThatIsSetCounts)
{
    const std::tuple<const char*, const char*, const char*, bool> rows[] = {
        {"", "", "", false},         {"", "", "de_DE.UTF-8", true},  {"", "C", "C.UTF-8", false},
        {"C", "C.utf8", "", false},  {"en_US.utf8", "C", "C", true}, {"", "C.Utf-8", "C", true},
        {"POSIX", "", "UTF8", false}};
    for (const auto& [all, type, lang, unicode] : rows) {
        ::setenv("LC_ALL", all, 1);
        ::setenv("LC_CTYPE", type, 1);
        ::setenv("LANG", lang, 1);
        EXPECT_EQ(unicodeWanted(), unicode) << all << ' ' << type << ' ' << lang;
    }
}

TEST(TableTest, ColumnsAreAsWideAsTheirWidestCell)
{
    Table table({{"NAME"},
                 {.title = "VALUE", .align = Table::Align::kRight},
                 {.title = "", .optional = true, .gap = 1},
                 {.title = "NONE", .optional = true},
                 {.title = "LAST", .optional = true}});
    table.add({{"Fan"}, {"480"}, {"RPM"}, {}, {}});
    table.add({{"\u6e29\u5ea6"}, {"-1.5"}, {}, {}, {"red", Colour::kRed}});
    table.add({{"a\nb"}, {}, {}});
    EXPECT_EQ(table.text(false), "NAME  VALUE      LAST\n"
                                 "Fan     480 RPM  -\n"
                                 "\u6e29\u5ea6   -1.5      red\n"
                                 "a?b       -      -\n");
    EXPECT_NE(table.text(true).find("      \033[31mred\033[0m\n"), std::string::npos);
}

TEST(TableTest, WithoutTitlesThereIsNoLineOfThem)
{
    Table table({{}, {.title = "", .align = Table::Align::kRight}});
    table.add({{"a"}, {"b"}});
    table.add({{"ab"}, {}});
    EXPECT_EQ(table.text(true), "a   b\nab\n");
}

} // namespace Tool
