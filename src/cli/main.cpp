#include "cli/RKCommandLine.h"
#include "cli/RKTerminal.h"
#include "cli/RKTerminalSettingNotice.h"
#include "platform/RKAppInfo.h"
#include "settings/RKKeychainSecretStore.h"

#include <QCoreApplication>
#include <QDir>
#include <QTranslator>

namespace {

// Installed beside the help page; in the build tree beside the program.
void installTranslation(QCoreApplication& app)
{
    const QString folder = QCoreApplication::applicationDirPath();
    auto* translator = new QTranslator(&app);
    for (const QString& place : {folder + QStringLiteral("/../share/mokuza-full/translations"),
                                 folder + QStringLiteral("/translations")}) {
        if (translator->load(QStringLiteral("mokuza-cli_ja"), place)) {
            QCoreApplication::installTranslator(translator);
            return;
        }
    }
    delete translator;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    // The settings of the application: the same profiles, the same file.
    QCoreApplication::setOrganizationName(RKAppInfo::organizationName());
    QCoreApplication::setApplicationName(RKAppInfo::applicationName());
    QCoreApplication::setApplicationVersion(QStringLiteral(MOKUZA_VERSION));
    if (RKTerminal::japaneseMessages()) {
        installTranslation(app);
    }
    RKTerminalSettingNotice settingNotice;
    RKSettingNotice::setCurrent(&settingNotice);
    // Profile passwords kept in the desktop's keyring are read from there.
    RKKeychainSecretStore keyring;
    RKSecretStore::setCurrent(&keyring);
    const int status = RKCommandLine::run(
        RKCommandLine::parse(QCoreApplication::arguments().mid(1), QDir::currentPath()));
    RKSecretStore::setCurrent(nullptr);
    RKSettingNotice::setCurrent(nullptr);
    return status;
}
