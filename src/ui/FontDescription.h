#pragma once

#include <string>

// A font as the text asks for it: which family, how large, how heavy, upright
// or italic. Finding an installed face that matches (and a fall-back when
// none does) is the Qt side's job.
struct FontDescription {
    // Weights on the usual 100...900 scale.
    static constexpr int kLight = 300;
    static constexpr int kRegular = 400;
    static constexpr int kMedium = 500;
    static constexpr int kSemibold = 600;
    static constexpr int kBold = 700;

    // Family name, e.g. "Helvetica Neue"; empty means the platform's system font.
    std::string family;
    double pointSize = 13.0;
    int weight = kRegular;
    bool italic = false;

    bool isBold() const { return weight >= kSemibold; }
    bool operator==(const FontDescription&) const = default;
};
