#include "ui/qt/FontsFactory.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

struct DesignedFace {
    const char* family;  // "" is the system font
    int weight;
};

// Indexed by the raw value of FontCase.
constexpr DesignedFace kDesignedFaces[FontsFactory::kCountOfFontCases] = {
    {"Lucida Grande", FontDescription::kRegular},
    {"Open Sans", FontDescription::kRegular},
    {"Open Sans", FontDescription::kBold},
    {"Open Sans", FontDescription::kSemibold},
    {"Helvetica", FontDescription::kRegular},
    {"Helvetica", FontDescription::kBold},
    {"Helvetica Neue", FontDescription::kRegular},
    {"Helvetica Neue", FontDescription::kBold},
    {"Helvetica Neue", FontDescription::kMedium},
    {"Helvetica Neue", FontDescription::kLight},
    {"", FontDescription::kRegular},
    {"", FontDescription::kBold},
};

// Where a designed family goes when it is not installed, closest first.
// Open Sans ships as fonts-open-sans. Helvetica and Helvetica Neue go to
// Liberation Sans (fonts-liberation2), which has Helvetica's metrics, so text
// measured for the design keeps its width; Arimo and Nimbus Sans are the same
// metrics under other names. Lucida Grande, a humanist face with a large
// x-height, is nearest to DejaVu Sans, which also covers Cyrillic and Greek.
// When nothing listed is installed the system font is used.
QStringList fallbackFamilies(const QString& family) {
    if (family == QLatin1String("Helvetica Neue")) {
        return {family, "Helvetica", "Liberation Sans", "Arimo", "Nimbus Sans"};
    }
    if (family == QLatin1String("Helvetica")) {
        return {family, "Liberation Sans", "Arimo", "Nimbus Sans"};
    }
    if (family == QLatin1String("Lucida Grande")) {
        return {family, "Lucida Sans", "DejaVu Sans"};
    }
    return {family};
}

}  // namespace

FontsFactory& FontsFactory::GetInstance() {
    static FontsFactory* instance = new FontsFactory();
    return *instance;
}

std::optional<FontCase> FontsFactory::fontCaseFromRawValue(int rawValue) {
    if (rawValue < 0 || rawValue >= kCountOfFontCases) return std::nullopt;
    return static_cast<FontCase>(rawValue);
}

FontDescription FontsFactory::fontDescriptionWithName(FontCase name, double size) {
    const DesignedFace& face = kDesignedFaces[static_cast<int>(name)];
    FontDescription description;
    description.family = face.family;
    description.weight = face.weight;
    description.pointSize = size;
    return description;
}

QFont FontsFactory::fontWithName(FontCase name, double size) {
    return GetInstance().fontForDescription(fontDescriptionWithName(name, size));
}

QString FontsFactory::installedFamilyFor(const std::string& family) {
    const QString designed = QString::fromStdString(family);
    auto found = m_arrFamilies.constFind(designed);
    if (found != m_arrFamilies.constEnd()) return *found;

    QString installed;
    if (!designed.isEmpty()) {
        for (const QString& candidate : fallbackFamilies(designed)) {
            if (QFontDatabase::hasFamily(candidate)) {
                installed = candidate;
                break;
            }
        }
    }
    if (installed.isEmpty()) {
        // The system font may be named by an alias ("Sans Serif"); what it
        // resolves to is the family that gets drawn.
        installed = QFontInfo(QFontDatabase::systemFont(QFontDatabase::GeneralFont)).family();
    }
    m_arrFamilies.insert(designed, installed);
    return installed;
}

// The nearest weight the family has, so that nothing is synthesised. A
// medium face is used for emphasis next to the regular one, so without a
// medium cut it takes the next heavier weight rather than looking regular;
// any other weight takes the nearest one, lighter on a tie.
int FontsFactory::installedWeightFor(const QString& family, int weight) {
    auto found = m_arrWeights.find(family);
    if (found == m_arrWeights.end()) {
        QList<int> weights;
        for (const QString& style : QFontDatabase::styles(family)) {
            if (QFontDatabase::italic(family, style)) continue;
            const int available = QFontDatabase::weight(family, style);
            if (available > 0 && !weights.contains(available)) weights.append(available);
        }
        std::sort(weights.begin(), weights.end());
        found = m_arrWeights.insert(family, weights);
    }
    const QList<int>& weights = *found;
    if (weights.isEmpty() || weights.contains(weight)) return weight;
    if (weight == FontDescription::kMedium) {
        for (int available : weights) {
            if (available > weight) return available;
        }
    }
    int best = weights.front();
    for (int available : weights) {
        if (std::abs(available - weight) < std::abs(best - weight)) best = available;
    }
    return best;
}

QFont FontsFactory::fontForDescription(const FontDescription& description) {
    const QString family = installedFamilyFor(description.family);
    QFont font(family);
    font.setPixelSize(std::max(1, static_cast<int>(std::lround(description.pointSize))));
    font.setWeight(static_cast<QFont::Weight>(installedWeightFor(family, description.weight)));
    font.setItalic(description.italic);
    font.setKerning(true);
    font.setHintingPreference(QFont::PreferVerticalHinting);
    return font;
}
