#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "support/DataTable.h"
#include "ui/StringsTable.h"

namespace {

using StringsTable::Strings;

std::string utf16(const std::u16string& text, bool littleEndian) {
    std::string bytes = littleEndian ? "\xFF\xFE" : "\xFE\xFF";
    for (char16_t unit : text) {
        const char high = static_cast<char>(unit >> 8), low = static_cast<char>(unit & 0xFF);
        bytes += littleEndian ? std::string{low, high} : std::string{high, low};
    }
    return bytes;
}

TEST(StringsTableTest, ReadsStringsFilesAndRefusesBrokenOnes) {
    for (const auto& row : testsupport::readDataTable("StringsTable/strings.tsv")) {
        std::optional<Strings> expected;
        if (row.size() < 2 || row[1] != "(refused)") {
            expected.emplace();
            for (std::size_t i = 1; i + 1 < row.size(); i += 2) (*expected)[row[i]] = row[i + 1];
        }
        EXPECT_EQ(StringsTable::parseStrings(row.at(0)), expected) << row.at(0);
    }
    const struct {
        std::string bytes;
        Strings expected;
    } rows[] = {
        {utf16(u"\"T\" = \"\u00c9t\u00e9 %@\";", true), Strings{{"T", "\xC3\x89t\xC3\xA9 %@"}}},
        {utf16(u"\"T\" = \"\U0001F600\";", false), Strings{{"T", "\xF0\x9F\x98\x80"}}},
        {R"("e" = "\"q\" \\ \n\t\101\UD83D\UDE00\UDE00\x";)",
         Strings{{"e", "\"q\" \\ \n\tA\xF0\x9F\x98\x80\xEF\xBF\xBDx"}}},
    };
    for (const auto& row : rows) EXPECT_EQ(StringsTable::parseStrings(row.bytes), row.expected);
}

}  // namespace
