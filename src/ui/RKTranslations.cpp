#include "ui/RKTranslations.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QTranslator>

namespace RKTranslations {

bool install(QCoreApplication& app)
{
    // The interface is Japanese whatever the system's language is.
    auto* own = new QTranslator(&app);
    const bool loaded = own->load(QStringLiteral(":/i18n/mokuza_ja.qm"));
    if (loaded) {
        QCoreApplication::installTranslator(own);
    } else {
        delete own;
    }

    auto* qtBase = new QTranslator(&app);
    if (qtBase->load(QStringLiteral("qtbase_ja"), QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
        QCoreApplication::installTranslator(qtBase);
    } else {
        delete qtBase;
    }
    return loaded;
}

} // namespace RKTranslations
