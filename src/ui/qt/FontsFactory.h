#pragma once

#include <QFont>
#include <QHash>
#include <QString>
#include <optional>

#include "ui/FontDescription.h"

// The faces the interface is designed with, by raw value.
enum class FontCase {
    LucidaGrande = 0,
    OpenSans = 1,
    OpenSansBold = 2,
    OpenSansSemibold = 3,
    Helvetica = 4,
    HelveticaBold = 5,
    HelveticaNeue = 6,
    HelveticaNeueBold = 7,
    HelveticaNeueMedium = 8,
    HelveticaNeueLight = 9,
    SystemFont = 10,
    BoldSystemFont = 11,
};

// The font catalogue. A face is first described as designed (family and
// weight, see fontDescriptionWithName) and then matched to what is installed:
// the designed family when present, else the closest installed family, and
// within it the nearest weight it really has. Sizes are the design's points,
// which are device-independent pixels. Needs the application object; used on
// the main thread only.
class FontsFactory {
public:
    static constexpr int kCountOfFontCases = 12;

    static FontsFactory& GetInstance();

    // The case for a raw value; nullopt for anything but 0...11.
    static std::optional<FontCase> fontCaseFromRawValue(int rawValue);
    // The face as designed: "Helvetica Neue" at weight 500 for
    // HelveticaNeueMedium; the system cases have an empty family.
    static FontDescription fontDescriptionWithName(FontCase name, double size);
    // The installed font for a case at a size.
    static QFont fontWithName(FontCase name, double size);

    // The installed font closest to a description.
    QFont fontForDescription(const FontDescription& description);
    // The installed family used for a designed family ("" is the system font).
    QString installedFamilyFor(const std::string& family);

private:
    FontsFactory() = default;
    int installedWeightFor(const QString& family, int weight);

    QHash<QString, QString> m_arrFamilies;
    QHash<QString, QList<int>> m_arrWeights;
};
