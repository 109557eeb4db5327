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

}  // namespace
