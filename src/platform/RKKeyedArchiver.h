#pragma once

#include "platform/RKKeyedRecord.h"

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

// Encoder of a keyed object tree, the persisted form of the settings. Every
// object keeps its class name and its keys in the order they were written;
// every value keeps its form (string, i32, i64, u64, bool, array, object).
//
// Document: {"$archiver":"RKKeyedArchiver","$version":1,"$top":OBJECT}
// OBJECT:   {"$class":NAME,"$keys":[[KEY,VALUE],...]}
// VALUE:    {"string":TEXT} | {"null":true} | {"i32":N} | {"i64":"N"} |
//           {"u64":"N"} | {"bool":B} | {"array":[VALUE,...]} | {"object":OBJECT}
// 64-bit numbers are written as decimal strings so no digit is lost to JSON's
// double-precision numbers.
class RKKeyedArchiver
{
public:
    explicit RKKeyedArchiver(const QString& className);

    // A null QString is written as {"null":true} and reads back null.
    void encodeObject(const QString& key, const QString& value);
    void encodeInt32(const QString& key, qint32 value);
    void encodeInt64(const QString& key, qint64 value);
    void encodeUInt64(const QString& key, quint64 value);
    void encodeBool(const QString& key, bool value);
    void encodeStringArray(const QString& key, const QStringList& values);
    void encodeObjectArray(const QString& key, const QList<RKKeyedArchiver>& objects);
    // Appends a kept record's entries after the ones encoded so far.
    void encodeRecordEntries(const RKKeyedRecord& record);

    // An object written back exactly as it was read.
    static RKKeyedArchiver fromRecord(const RKKeyedRecord& record);

    QString className() const { return m_className; }

    // This object as the OBJECT form above.
    QJsonObject toJson() const;

    // This object as the root of a whole document (compact UTF-8 JSON).
    QByteArray archivedData() const;

private:
    void append(const QString& key, const QJsonObject& value);

    QString m_className;
    QList<QPair<QString, QJsonObject>> m_entries;
};
