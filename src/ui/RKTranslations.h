#pragma once

class QCoreApplication;

// The application's Japanese texts that go through Qt Linguist (the rating
// words of the password field and other contexts), and Qt's own Japanese
// texts for its dialogs when the system has them.
namespace RKTranslations {

// Installs the translators into app. True when the application's own
// Japanese translation was found and installed. Call once, at start-up,
// before any window is made.
bool install(QCoreApplication& app);

} // namespace RKTranslations
