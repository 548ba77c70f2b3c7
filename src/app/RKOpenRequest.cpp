#include "app/RKOpenRequest.h"

#include "app/RKSingleInstance.h"

std::optional<RKOpenRequest> RKOpenRequest::fromArguments(const QStringList& arguments,
                                                          const QString& workingDirectory,
                                                          QString* error)
{
    RKOpenRequest request;
    QStringList rest = arguments;
    if (!rest.isEmpty() && rest.first() == QStringLiteral("--compress")) {
        request.mode = Mode::Compress;
        rest.removeFirst();
    } else if (!rest.isEmpty() && rest.first() == QStringLiteral("--extract")) {
        request.mode = Mode::Extract;
        rest.removeFirst();
    }
    if (!rest.isEmpty() && rest.first() == QStringLiteral("--")) {
        rest.removeFirst();
    } else if (!rest.isEmpty() && rest.first().startsWith(QLatin1Char('-'))
               && rest.first() != QStringLiteral("-")) {
        // A file manager passes absolute paths; an option we do not know is
        // a typing error, not an item named after it.
        *error = QStringLiteral("unknown option %1").arg(rest.first());
        return std::nullopt;
    }
    request.paths = RKSingleInstance::absolutePaths(rest, workingDirectory);
    if (request.mode != Mode::Open && request.paths.isEmpty()) {
        *error = QStringLiteral("--%1 needs at least one path").arg(modeName(request.mode));
        return std::nullopt;
    }
    return request;
}

QString RKOpenRequest::modeName(Mode mode)
{
    switch (mode) {
    case Mode::Compress:
        return QStringLiteral("compress");
    case Mode::Extract:
        return QStringLiteral("extract");
    case Mode::Open:
        break;
    }
    return QStringLiteral("open");
}
