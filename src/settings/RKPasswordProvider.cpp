#include "settings/RKPasswordProvider.h"

#include "platform/RKComputerName.h"
#include "settings/RKPasswordPrompt.h"

#include <QDateTime>

#include <unicode/calendar.h>
#include <unicode/locid.h>

#include <memory>

QString RKPasswordProvider::Password(QObject* window, const RKProfileSetting& profile)
{
    switch (profile.passMode) {
    case RKProfileSetting::PassModeAnytime:
        return showPasswordDialog(window, profile);
    case RKProfileSetting::PassModeStatic:
        return makeStaticPassword(profile);
    default:
        return QString();
    }
}

QString RKPasswordProvider::showPasswordDialog(QObject* window, const RKProfileSetting& profile)
{
    RKPasswordPrompt* prompt = RKPasswordPrompt::current();
    if (!prompt) {
        return QStringLiteral("");
    }
    // Asked and left empty is not the same as not asked: the result says so.
    const QString typed = prompt->showPasswordDialog(window, profile);
    return typed.isNull() ? QStringLiteral("") : typed;
}

QString RKPasswordProvider::makeStaticPassword(const RKProfileSetting& profile)
{
    const CalendarDate today = calendarDate(QDateTime::currentMSecsSinceEpoch());
    return expandTemplate(profile.password, today.year, today.month, today.day,
                          RKComputerName::computerName());
}

QString RKPasswordProvider::expandTemplate(const QString& text, int year, int month, int day,
                                           const QString& hostName)
{
    // A profile read back without its password key holds a null text; the
    // password is then empty, not absent, as for an empty template.
    QString result = text.isNull() ? QStringLiteral("") : text;
    const QLatin1Char zero('0');
    // {YYYY} must go before {YY}, which would otherwise eat half of it.
    result.replace(QStringLiteral("{YYYY}"), QString::number(year));
    result.replace(QStringLiteral("{YY}"), QString::number(year - (year / 100) * 100));
    result.replace(QStringLiteral("{MM}"), QStringLiteral("%1").arg(month, 2, 10, zero));
    result.replace(QStringLiteral("{DD}"), QStringLiteral("%1").arg(day, 2, 10, zero));
    if (!hostName.isEmpty()) {
        result.replace(QStringLiteral("{HOST}"), hostName);
    }
    return result;
}

RKPasswordProvider::CalendarDate RKPasswordProvider::calendarDate(qint64 msecsSinceEpoch,
                                                                  const QByteArray& localeId)
{
    UErrorCode status = U_ZERO_ERROR;
    const icu::Locale locale =
        localeId.isEmpty() ? icu::Locale::getDefault() : icu::Locale(localeId.constData());
    std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(locale, status));
    CalendarDate date;
    if (U_SUCCESS(status) && calendar) {
        calendar->setTime(static_cast<UDate>(msecsSinceEpoch), status);
        date.year = calendar->get(UCAL_YEAR, status);
        date.month = calendar->get(UCAL_MONTH, status) + 1;
        date.day = calendar->get(UCAL_DATE, status);
    }
    if (U_FAILURE(status) || !calendar) {
        // Without ICU's calendar the Gregorian date of the local time is the
        // best answer there is.
        const QDate local = QDateTime::fromMSecsSinceEpoch(msecsSinceEpoch).date();
        date = {local.year(), local.month(), local.day()};
    }
    return date;
}
