#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "support/DataTable.h"
#include "ui/MarkupStyler.h"

namespace {

using Tag = MarkupStyler::Tag;

// The notification's styles: a default font, and a font and colours of their
// own for the tags it writes.
MarkupStyler notificationStyler() {
    MarkupStyler styler;
    styler.setFont({"Helvetica Neue", 13, FontDescription::kRegular, false},
                   MarkupStyler::DefaultTag());
    styler.setFont({"Helvetica Neue", 13, FontDescription::kMedium, false}, "b");
    styler.setForegroundColor(Color(0.2, 0.42, 0.73), "b");
    styler.setForegroundColor(Color(1, 0, 0), "i");
    return styler;
}

TEST(MarkupStylerTest, ParsesTagsEntitiesAndLeavesBadMarkupAsText) {
    for (const auto& row : testsupport::readDataTable("MarkupStyler/parse.tsv")) {
        SCOPED_TRACE(testsupport::describeRow(row));
        std::vector<Tag> tags;
        std::istringstream written(row.at(2));
        for (std::string tag; written >> tag;) {
            const auto colon = tag.find(':');
            const auto second = tag.find(':', colon + 1);
            tags.push_back({tag.substr(0, colon), std::stoul(tag.substr(colon + 1, second)),
                            std::stoul(tag.substr(second + 1))});
        }
        const auto parsed = MarkupStyler::parse(row.at(0));
        EXPECT_EQ(parsed.text, row.at(1));
        EXPECT_EQ(parsed.tags, tags);
        EXPECT_EQ(parsed.literalTags, std::stoul(row.at(3)));
    }
}

TEST(MarkupStylerTest, PreparedTextComesBackUnchanged) {
    EXPECT_EQ(MarkupStyler::prepareString("a<b>&c"), "a&lt;b>&amp;c");
    const MarkupStyler styler = notificationStyler();
    for (const char* text : {"<b>bold?</b>", "&amp; &lt; &#65;", "<<&&>>", "x</b>",
                             "Tom & Jerry's <App>", "100% <i>", ""}) {
        const AttributedString converted = styler.convertString(MarkupStyler::prepareString(text));
        EXPECT_EQ(converted.string(), text);
        EXPECT_LE(converted.runs().size(), 1u) << text;
    }
}

// Random mixes of markup are the fuzzer's (fuzz/MarkupFuzzer.cpp): runs tile the
// text and escaped text comes back unchanged.
TEST(MarkupStylerTest, DeepNestingKeepsItsText) {
    const MarkupStyler styler = notificationStyler();
    const std::size_t depth = 50000;
    std::string deep;
    for (std::size_t i = 0; i < depth; ++i) deep += i % 2 ? "<i>" : "<b>";
    deep += "x";
    for (std::size_t i = depth; i-- > 0;) deep += i % 2 ? "</i>" : "</b>";
    EXPECT_EQ(styler.convertString(deep).string(), "x");
    EXPECT_EQ(MarkupStyler::parse(deep).tags.size(), depth);
}

}  // namespace
