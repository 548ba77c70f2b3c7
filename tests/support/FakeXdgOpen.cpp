#include "support/FakeXdgOpen.h"

#include "platform/RKXdgOpen.h"
#include "support/TestEnvironment.h"

#include <QFile>

FakeXdgOpen::FakeXdgOpen(int exitCode)
{
    const QString script = m_dir.filePath(QStringLiteral("xdg-open"));
    TestEnvironment::writeFile(script, "#!/bin/sh\nprintf '%s\\n' \"$1\" >> \"$0.log\"\nexit "
                                           + QByteArray::number(exitCode) + "\n");
    QFile::setPermissions(script, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    RKXdgOpen::setProgram(script);
}

FakeXdgOpen::~FakeXdgOpen()
{
    RKXdgOpen::setProgram(QString());
}

QStringList FakeXdgOpen::targets() const
{
    return QString::fromUtf8(TestEnvironment::readFile(m_dir.filePath(QStringLiteral("xdg-open.log"))))
        .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}
