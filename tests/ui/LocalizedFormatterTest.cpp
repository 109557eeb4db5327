#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "ui/LocalizedFormatter.h"

namespace {

using Args = std::vector<FormatArgument>;

TEST(LocalizedFormatterTest, WritesDirectivesTheLocalesWay) {
    constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
    const struct {
        const char* locale;
        const char* format;
        Args arguments;
        const char* expected;
    } rows[] = {
        {"en", "%@ has %d files", {"Mail", std::int64_t{3}}, "Mail has 3 files"},
        {"en",
         "%d|%i|%ld",
         {std::int64_t{1234567}, std::int64_t{-1000}, std::int64_t{5000000000}},
         "1,234,567|-1,000|5,000,000,000"},
        {"de_DE", "%ld", {std::int64_t{1234567}}, "1.234.567"},
        {"ja", "%lld", {std::int64_t{12345}}, "12,345"},
        {"en", "%lld", {kMin}, "-9,223,372,036,854,775,808"},
        {"en",
         "%d %u %hd",
         {std::int64_t{4294967301}, std::int64_t{-1}, std::int64_t{65537}},
         "5 4,294,967,295 1"},  // narrower directives read the low bits
        {"en", "%lu", {std::int64_t{-1}}, "18,446,744,073,709,551,615"},
        {"en", "%2$@ %1$@", {"a", "b"}, "b a"},
        {"en", "%2$@ %@ %@", {"a", "b"}, "b a b"},  // numbered ones leave the order alone
        {"en", "100%% %@", {"sure"}, "100% sure"},
        {"en", "[%5@][%-4d][%03d]", {"ab", std::int64_t{7}, std::int64_t{7}}, "[   ab][7   ][  7]"},
        {"en", "%@ %d", {std::int64_t{1500}, "text"}, "1,500 text"},  // mismatched kinds
        {"en", "%@ and %@ and %3$@", {"only"}, "only and  and "},     // missing arguments
        {"en", "%s %f %x %", {"a"}, "%s %f %x %"},                    // unknown: as written
        {"en", "%#@nothing@!", {std::int64_t{1}}, "!"},               // no plural rules given
    };
    for (const auto& row : rows) {
        const LocalizedFormatter formatter(row.locale);
        EXPECT_EQ(formatter.localizedStringWithFormat(row.format, row.arguments), row.expected)
            << row.locale << " " << row.format;
    }
}

TEST(LocalizedFormatterTest, PluralVariablesFollowTheLanguagesRules) {
    StringsTable::StringsDictEntry entry;
    entry.formatKey = "%#@files@ in %@";
    entry.variables["files"].forms = {{"zero", "no file"},
                                      {"one", "%ld file"},
                                      {"few", "%ld files (few)"},
                                      {"many", "%ld files (many)"},
                                      {"other", "%ld files"}};
    const struct {
        const char* locale;
        std::int64_t count;
        const char* expected;
    } rows[] = {
        {"en", 0, "no file in x"},  // "zero" is used for 0 in every language
        {"en", 1, "1 file in x"},
        {"en", 2, "2 files in x"},
        {"en", 1000, "1,000 files in x"},
        {"ru", 1, "1 file in x"},
        {"ru", 3, "3 files (few) in x"},
        {"ru", 11, "11 files (many) in x"},
        {"ru", 21, "21 file in x"},
        {"pl", 22, "22 files (few) in x"},
        {"pl", 25, "25 files (many) in x"},
        {"ja", 1, "1 files in x"},  // one category only
        {"fr", 1000000, "1\u202F000\u202F000 files (many) in x"},
    };
    for (const auto& row : rows) {
        const LocalizedFormatter formatter(row.locale);
        EXPECT_EQ(
            formatter.localizedStringWithFormat(entry.formatKey, Args{row.count, "x"}, &entry),
            row.expected)
            << row.locale << " " << row.count;
    }

    // A missing category falls back to "other"; numbered directives inside a
    // form reach the outer arguments.
    entry.formatKey = "%2$#@files@";
    entry.variables["files"].forms = {{"other", "%1$@: %2$ld"}};
    EXPECT_EQ(LocalizedFormatter("ru").localizedStringWithFormat(
                  entry.formatKey, Args{"Disk", std::int64_t{3}}, &entry),
              "Disk: 3");

    // Forms that name themselves stop at the nesting limit, and output is bounded.
    entry.formatKey = "%#@loop@";
    entry.variables["loop"].forms = {
        {"other", "ab%#@loop@%#@loop@%#@loop@%#@loop@%#@loop@%#@loop@"}};
    const std::string looped = LocalizedFormatter("en").localizedStringWithFormat(
        entry.formatKey, Args{std::int64_t{2}}, &entry);
    EXPECT_GT(looped.size(), 0u);
    EXPECT_LE(looped.size(), LocalizedFormatter::kMaxOutputSize + 4096);
    EXPECT_EQ(looped.find('%'), std::string::npos);
}

}  // namespace
