#pragma once

#include "settings/RKProfileSetting.h"

#include <QByteArray>
#include <QDate>
#include <QObject>
#include <QString>

// Turns an archive profile into the password of one archive. No password is
// ever made up: it is typed by the user or expanded from the template.
class RKPasswordProvider
{
public:
    // passMode 0 (or a value outside the table): a null QString, no password.
    // passMode 1: the manual password window over window (RKPasswordPrompt).
    // passMode 2: makeStaticPassword(profile).
    static QString Password(QObject* window, const RKProfileSetting& profile);

    // The manual password window (RKPasswordPrompt::current()); "", never
    // null, when nothing was typed or no prompt is installed.
    static QString showPasswordDialog(QObject* window, const RKProfileSetting& profile);

    // The profile's password with {YYYY}, {YY}, {MM}, {DD} (today in the
    // user's calendar) and {HOST} (the computer's name; left as written when
    // there is none) replaced, in that order.
    static QString makeStaticPassword(const RKProfileSetting& profile);

    // The same expansion for a given date in the user's calendar and a given
    // computer name (null: none). makeStaticPassword uses it; tests call it.
    static QString expandTemplate(const QString& text, int year, int month, int day,
                                  const QString& hostName);

    // Year, month (1-12) and day of a moment in the calendar of a locale
    // (an ICU locale id such as "ja_JP@calendar=japanese"; empty: the user's
    // default locale, whose calendar need not be the Gregorian one).
    struct CalendarDate {
        int year = 0;
        int month = 0;
        int day = 0;
    };
    static CalendarDate calendarDate(qint64 msecsSinceEpoch, const QByteArray& localeId = {});
};
