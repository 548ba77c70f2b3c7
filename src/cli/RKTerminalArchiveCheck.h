#pragma once

#include <QCoreApplication>
#include <QString>
#include <QStringList>

#include <optional>

// `mokuza list` and `mokuza test`: the entries of archives, and every entry
// read and checked, written to nothing. Names are decoded as extraction
// decodes them. Main thread.
class RKTerminalArchiveCheck
{
    Q_DECLARE_TR_FUNCTIONS(RKTerminalArchiveCheck)

public:
    struct Options {
        quint64 encoding = 4;
        bool json = false;
        bool quiet = false;
        // test: the password of encrypted archives; nullopt: asked on the
        // terminal when there is one.
        std::optional<QString> password;
        bool interactive = false;
    };

    // Lists each archive: in columns, or one JSON object per entry. The exit
    // status: 0, or 4 when an archive cannot be read.
    static int list(const QStringList& archives, const Options& options);
    // Reads every entry of each archive and checks it. The exit status: 0
    // all well, 3 a password did not fit, 4 an archive is damaged, 2 an
    // encrypted archive and no way to get its password, 1 an entry of a
    // method or encryption not read here.
    static int test(const QStringList& archives, const Options& options);
    // "  NAME" for every entry, after the archive's name, on standard output
    // or standard error.
    static void printNames(const QString& archive, const Options& options, bool toError);
};
