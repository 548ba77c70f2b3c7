#pragma once

#include "platform/RKKeyedRecord.h"

#include <QByteArray>
#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

#include <memory>

// Decoder of the documents RKKeyedArchiver writes. An absent key reads as a
// null string, 0, false or an empty list. A key present in a form other than
// the one asked for is a fault: the value reads as absent and failed() turns
// true for this object and every object decoded from the same document, so a
// caller can refuse the whole document.
class RKKeyedUnarchiver
{
public:
    // The root object of a document; failed() is true (and className() empty)
    // when the bytes are not such a document.
    static RKKeyedUnarchiver unarchive(const QByteArray& data);

    QString className() const { return m_className; }
    bool failed() const;
    bool containsValueForKey(const QString& key) const;

    QString decodeObject(const QString& key) const;
    qint32 decodeInt32(const QString& key) const;
    qint64 decodeInt64(const QString& key) const;
    quint64 decodeUInt64(const QString& key) const;
    bool decodeBool(const QString& key) const;
    QStringList decodeStringArray(const QString& key) const;
    QList<RKKeyedUnarchiver> decodeObjectArray(const QString& key) const;

    // This object as it was read, to be written back unchanged.
    RKKeyedRecord record() const;
    // The entries of keys that no decode call asked for, in the order read:
    // what a newer version wrote. Ask after decoding.
    RKKeyedRecord undecodedEntries() const;

private:
    RKKeyedUnarchiver(const QJsonObject& object, std::shared_ptr<bool> failure);
    QJsonObject valueFor(const QString& key, const QString& form) const;
    void fail() const;

    QString m_className;
    QHash<QString, QJsonObject> m_values;
    QList<QPair<QString, QJsonObject>> m_entries;
    mutable QSet<QString> m_decoded;
    std::shared_ptr<bool> m_failure;
};
