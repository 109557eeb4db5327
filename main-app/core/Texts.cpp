#include "core/Texts.h"

#include <cstdlib>
#include <map>

namespace mainapp {

namespace {

const std::map<std::string, std::string>& german() {
    static const std::map<std::string, std::string> table{
        {"Sweepwell - Complete Uninstallation", "Sweepwell - Vollständige Deinstallation"},
        {"Review what the removed applications left behind",
         "Prüfen Sie, was die entfernten Programme zurückgelassen haben"},
        {"Checked items are moved to the Trash, where you can still restore them.",
         "Markierte Objekte werden in den Papierkorb gelegt und lassen sich von dort "
         "wiederherstellen."},
        {"Item", "Objekt"},
        {"Size", "Größe"},
        {"Status", "Status"},
        {"Move to Trash", "In den Papierkorb legen"},
        {"Cancel", "Abbrechen"},
        {"Close", "Schließen"},
        {"Selected: %1", "Ausgewählt: %1"},
        {"Moved to the Trash: %1", "In den Papierkorb gelegt: %1"},
        {"Calculating…", "Wird berechnet …"},
        {"The application, in the Trash (left alone)",
         "Das Programm, im Papierkorb (bleibt unberührt)"},
        {"Moved to the Trash", "In den Papierkorb gelegt"},
        {"Already gone", "Nicht mehr vorhanden"},
        {"Refused: %1", "Abgelehnt: %1"},
        {"Failed: %1", "Fehlgeschlagen: %1"},
        {"Not moved", "Nicht verschoben"},
        {"A removal list was refused: %1", "Eine Entfernungsliste wurde abgelehnt: %1"},
        {"Nothing to review. When you move an application to the Trash, Sweepwell Helper "
         "offers to bring what it left behind here.",
         "Nichts zu prüfen. Wenn Sie ein Programm in den Papierkorb legen, bietet Sweepwell "
         "Helper an, hier zu zeigen, was es zurückgelassen hat."},
        {"Application", "Programm"},
        {"Application Support", "Programmdaten"},
        {"Launch Agents", "Startobjekte"},
        {"Caches", "Caches"},
        {"Saved State", "Gespeicherter Zustand"},
        {"Containers", "Container"},
        {"Preferences", "Einstellungen"},
        {"Logs", "Protokolle"},
        {"Cookies", "Cookies"},
        {"Crash Reports", "Absturzberichte"},
        {"Other Files", "Andere Dateien"},
        {"it is outside your home folder", "es liegt außerhalb Ihres Benutzerordners"},
        {"it is a folder that holds other applications' files",
         "es ist ein Ordner mit Dateien anderer Programme"},
        {"it is not a full path", "es ist kein vollständiger Pfad"},
        {"it is not a place where applications leave their files",
         "dort legen Programme keine Dateien ab"},
        {"it is an application outside the Trash", "es ist ein Programm außerhalb des Papierkorbs"},
        {"it is your home folder or a folder directly in it",
         "es ist Ihr Benutzerordner oder ein Ordner direkt darin"},
        {"it is not a plain path", "es ist kein einfacher Pfad"},
        {"it belongs to another user", "es gehört einem anderen Benutzer"},
        {"there is no home folder", "es gibt keinen Benutzerordner"},
        {"it is gone", "es ist nicht mehr vorhanden"},
        {"there is no Trash folder for it", "es gibt keinen Papierkorb dafür"},
        {"the Trash folder is a link or not only yours",
         "der Papierkorb ist ein Verweis oder nicht nur Ihrer"},
        {"it lies on another disk that has no Trash of yours",
         "es liegt auf einem anderen Datenträger ohne Ihren Papierkorb"},
        {"it is in the Trash already", "es ist schon im Papierkorb"},
        {"the Trash has no free name for it", "der Papierkorb hat keinen freien Namen dafür"},
        {"the Trash's record of it could not be written",
         "der Papierkorb-Eintrag dafür ließ sich nicht schreiben"},
    };
    return table;
}

}  // namespace

std::string language() {
    for (const char* name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* value = std::getenv(name);
        if (value == nullptr || *value == '\0') continue;
        return std::string(value).rfind("de", 0) == 0 ? "de" : "en";
    }
    return "en";
}

std::string tr(const std::string& english) {
    if (language() != "de") return english;
    const auto found = german().find(english);
    if (found != german().end()) return found->second;
    // "its real location: <reason>" carries a reason of its own.
    const std::string prefix = "its real location: ";
    if (english.rfind(prefix, 0) == 0)
        return "sein wirklicher Ort: " + tr(english.substr(prefix.size()));
    const std::string failed = "it could not be moved: ";
    if (english.rfind(failed, 0) == 0)
        return "es ließ sich nicht verschieben: " + english.substr(failed.size());
    return english;
}

}  // namespace mainapp
