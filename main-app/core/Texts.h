#pragma once

#include <string>

// The Main application's few texts in the user's language: English, and
// German for a German session. The language is the first of LANGUAGE,
// LC_ALL, LC_MESSAGES and LANG that is set, as a desktop session sets them.
namespace mainapp {

// The text for its English original; the original when there is none.
std::string tr(const std::string& english);

// "de" or "en": the language the texts are shown in.
std::string language();

}  // namespace mainapp
