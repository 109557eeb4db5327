#include "app/Logging.h"

#include <QLoggingCategory>
#include <QMessageLogger>
#include <QString>
#include <map>
#include <memory>
#include <string>

#include "platform/Log.h"

namespace composition {

namespace {

// Categories live as long as the program: Qt keeps pointers to their names.
const QLoggingCategory& categoryNamed(std::string_view part) {
    static std::map<std::string, std::pair<std::string, std::unique_ptr<QLoggingCategory>>,
                    std::less<>>
        categories;
    auto found = categories.find(part);
    if (found == categories.end()) {
        auto& entry = categories[std::string(part)];
        entry.first = "sweepwell." + std::string(part);
        entry.second = std::make_unique<QLoggingCategory>(entry.first.c_str());
        return *entry.second;
    }
    return *found->second.second;
}

}  // namespace

void installLogging() {
    if (!platform::Log::isEnabled(platform::Log::Level::Debug)) {
        QLoggingCategory::setFilterRules(QStringLiteral("sweepwell.*.debug=false"));
    }
    platform::Log::setSink(
        [](platform::Log::Level level, std::string_view part, std::string_view message) {
            const QLoggingCategory& category = categoryNamed(part);
            const QString text =
                QString::fromUtf8(message.data(), static_cast<qsizetype>(message.size()));
            QMessageLogger logger(nullptr, 0, nullptr, category.categoryName());
            if (level == platform::Log::Level::Warning) {
                if (category.isWarningEnabled()) logger.warning().noquote() << text;
            } else if (category.isDebugEnabled()) {
                logger.debug().noquote() << text;
            }
        });
}

}  // namespace composition
