#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "support/DataTable.h"
#include "ui/LocalizedFormatter.h"

namespace {

using Args = std::vector<FormatArgument>;

TEST(LocalizedFormatterTest, WritesDirectivesTheLocalesWay) {
    for (const auto& row : testsupport::readDataTable("LocalizedFormatter/directives.tsv")) {
        Args arguments;
        for (std::size_t i = 3; i < row.size(); ++i) {
            if (row[i].rfind("n:", 0) == 0) {
                arguments.emplace_back(std::int64_t{std::stoll(row[i].substr(2))});
            } else {
                arguments.emplace_back(row[i]);
            }
        }
        EXPECT_EQ(LocalizedFormatter(row.at(0)).localizedStringWithFormat(row.at(1), arguments),
                  row.at(2))
            << testsupport::describeRow(row);
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
    for (const auto& row : testsupport::readDataTable("LocalizedFormatter/plurals.tsv")) {
        EXPECT_EQ(LocalizedFormatter(row.at(0)).localizedStringWithFormat(
                      entry.formatKey, Args{std::int64_t{std::stoll(row.at(1))}, "x"}, &entry),
                  row.at(2))
            << testsupport::describeRow(row);
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
