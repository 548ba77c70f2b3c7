#include "platform/RKKeyedArchiver.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace {

QJsonObject form(const char* name, const QJsonValue& value)
{
    return QJsonObject{{QLatin1String(name), value}};
}

QJsonObject stringForm(const QString& value)
{
    if (value.isNull()) {
        return form("null", true);
    }
    return form("string", value);
}

} // namespace

RKKeyedArchiver::RKKeyedArchiver(const QString& className)
    : m_className(className)
{
}

void RKKeyedArchiver::append(const QString& key, const QJsonObject& value)
{
    m_entries.append({key, value});
}

void RKKeyedArchiver::encodeObject(const QString& key, const QString& value)
{
    append(key, stringForm(value));
}

void RKKeyedArchiver::encodeInt32(const QString& key, qint32 value)
{
    append(key, form("i32", static_cast<qint64>(value)));
}

void RKKeyedArchiver::encodeInt64(const QString& key, qint64 value)
{
    append(key, form("i64", QString::number(value)));
}

void RKKeyedArchiver::encodeUInt64(const QString& key, quint64 value)
{
    append(key, form("u64", QString::number(value)));
}

void RKKeyedArchiver::encodeBool(const QString& key, bool value)
{
    append(key, form("bool", value));
}

void RKKeyedArchiver::encodeStringArray(const QString& key, const QStringList& values)
{
    QJsonArray array;
    for (const QString& value : values) {
        array.append(stringForm(value));
    }
    append(key, form("array", array));
}

void RKKeyedArchiver::encodeObjectArray(const QString& key, const QList<RKKeyedArchiver>& objects)
{
    QJsonArray array;
    for (const RKKeyedArchiver& object : objects) {
        array.append(form("object", object.toJson()));
    }
    append(key, form("array", array));
}

void RKKeyedArchiver::encodeRecordEntries(const RKKeyedRecord& record)
{
    m_entries.append(record.entries);
}

RKKeyedArchiver RKKeyedArchiver::fromRecord(const RKKeyedRecord& record)
{
    RKKeyedArchiver archiver(record.className);
    archiver.m_entries = record.entries;
    return archiver;
}

QJsonObject RKKeyedArchiver::toJson() const
{
    QJsonArray keys;
    for (const auto& [key, value] : m_entries) {
        keys.append(QJsonArray{key, value});
    }
    return QJsonObject{{QStringLiteral("$class"), m_className}, {QStringLiteral("$keys"), keys}};
}

QByteArray RKKeyedArchiver::archivedData() const
{
    const QJsonObject document{{QStringLiteral("$archiver"), QStringLiteral("RKKeyedArchiver")},
                               {QStringLiteral("$version"), 1},
                               {QStringLiteral("$top"), toJson()}};
    return QJsonDocument(document).toJson(QJsonDocument::Compact);
}
