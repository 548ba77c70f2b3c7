#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// What one start of the application asks for: items to open (compressed or
// extracted as their extensions say), or explicitly to compress or to
// extract whatever the extensions. A later start hands it to the running
// instance as it is.
struct RKOpenRequest
{
    enum class Mode : qint32 { Open = 0, Compress = 1, Extract = 2 };

    Mode mode = Mode::Open;
    QStringList paths;
    // The launcher's token (XDG_ACTIVATION_TOKEN), possibly empty: with it
    // the running instance may take the focus, and so see the keys held for
    // this request.
    QString activationToken;

    // Reads the command line (without the program name): "--compress" or
    // "--extract" as the first argument choose the mode and need at least
    // one path; "--" ends the options. Paths are made absolute against
    // workingDirectory. Nullopt with *error set for any other option or a
    // mode without paths.
    static std::optional<RKOpenRequest> fromArguments(const QStringList& arguments,
                                                      const QString& workingDirectory,
                                                      QString* error);

    // "open", "compress" or "extract".
    static QString modeName(Mode mode);

    friend bool operator==(const RKOpenRequest&, const RKOpenRequest&) = default;
};
