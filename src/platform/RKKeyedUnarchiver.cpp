#include "platform/RKKeyedUnarchiver.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonParseError>


namespace {

const QString kNull = QStringLiteral("null");
const QString kString = QStringLiteral("string");

} // namespace

RKKeyedUnarchiver RKKeyedUnarchiver::unarchive(const QByteArray& data)
{
    auto failure = std::make_shared<bool>(false);
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(data, &parseError);
    const QJsonObject root = document.object();
    if (parseError.error != QJsonParseError::NoError || !document.isObject()
        || root.value(QStringLiteral("$archiver")).toString() != QStringLiteral("RKKeyedArchiver")
        || !root.value(QStringLiteral("$top")).isObject()) {
        *failure = true;
        return RKKeyedUnarchiver(QJsonObject(), failure);
    }
    RKKeyedUnarchiver top(root.value(QStringLiteral("$top")).toObject(), failure);
    if (top.m_className.isEmpty()) {
        *failure = true;
    }
    return top;
}

RKKeyedUnarchiver::RKKeyedUnarchiver(const QJsonObject& object, std::shared_ptr<bool> failure)
    : m_failure(std::move(failure))
{
    if (object.isEmpty()) {
        return;
    }
    const QJsonValue className = object.value(QStringLiteral("$class"));
    const QJsonValue keys = object.value(QStringLiteral("$keys"));
    if (!className.isString() || !keys.isArray()) {
        fail();
        return;
    }
    m_className = className.toString();
    for (const QJsonValue& entry : keys.toArray()) {
        const QJsonArray pair = entry.toArray();
        if (pair.size() != 2 || !pair.at(0).isString() || !pair.at(1).isObject()
            || pair.at(1).toObject().size() != 1) {
            fail();
            continue;
        }
        // The first value of a key wins, as a keyed decoder finds it.
        const QString key = pair.at(0).toString();
        m_entries.append({key, pair.at(1).toObject()});
        if (!m_values.contains(key)) {
            m_values.insert(key, pair.at(1).toObject());
        }
    }
}

bool RKKeyedUnarchiver::failed() const
{
    return *m_failure;
}

void RKKeyedUnarchiver::fail() const
{
    *m_failure = true;
}

bool RKKeyedUnarchiver::containsValueForKey(const QString& key) const
{
    return m_values.contains(key);
}

RKKeyedRecord RKKeyedUnarchiver::record() const
{
    return {m_className, m_entries};
}

RKKeyedRecord RKKeyedUnarchiver::undecodedEntries() const
{
    RKKeyedRecord rest{m_className, {}};
    for (const auto& entry : m_entries) {
        if (!m_decoded.contains(entry.first)) {
            rest.entries.append(entry);
        }
    }
    return rest;
}

QJsonObject RKKeyedUnarchiver::valueFor(const QString& key, const QString& form) const
{
    m_decoded.insert(key);
    const auto it = m_values.constFind(key);
    if (it == m_values.constEnd()) {
        return {};
    }
    if (!it->contains(form)) {
        fail();
        return {};
    }
    return *it;
}

QString RKKeyedUnarchiver::decodeObject(const QString& key) const
{
    m_decoded.insert(key);
    const auto it = m_values.constFind(key);
    if (it == m_values.constEnd() || it->contains(kNull)) {
        return QString();
    }
    const QJsonValue value = it->value(kString);
    if (!value.isString()) {
        fail();
        return QString();
    }
    // An empty stored string must stay empty, not null.
    const QString text = value.toString();
    return text.isNull() ? QStringLiteral("") : text;
}

qint32 RKKeyedUnarchiver::decodeInt32(const QString& key) const
{
    const QJsonValue value = valueFor(key, QStringLiteral("i32")).value(QStringLiteral("i32"));
    if (value.isUndefined()) {
        return 0;
    }
    const double number = value.toDouble();
    if (!value.isDouble() || number != static_cast<double>(static_cast<qint32>(number))) {
        fail();
        return 0;
    }
    return static_cast<qint32>(number);
}

qint64 RKKeyedUnarchiver::decodeInt64(const QString& key) const
{
    const QJsonValue value = valueFor(key, QStringLiteral("i64")).value(QStringLiteral("i64"));
    if (value.isUndefined()) {
        return 0;
    }
    bool ok = false;
    const qint64 number = value.toString().toLongLong(&ok);
    if (!ok) {
        fail();
        return 0;
    }
    return number;
}

quint64 RKKeyedUnarchiver::decodeUInt64(const QString& key) const
{
    const QJsonValue value = valueFor(key, QStringLiteral("u64")).value(QStringLiteral("u64"));
    if (value.isUndefined()) {
        return 0;
    }
    bool ok = false;
    const quint64 number = value.toString().toULongLong(&ok);
    if (!ok) {
        fail();
        return 0;
    }
    return number;
}

bool RKKeyedUnarchiver::decodeBool(const QString& key) const
{
    const QJsonValue value = valueFor(key, QStringLiteral("bool")).value(QStringLiteral("bool"));
    if (value.isUndefined()) {
        return false;
    }
    if (!value.isBool()) {
        fail();
        return false;
    }
    return value.toBool();
}

QStringList RKKeyedUnarchiver::decodeStringArray(const QString& key) const
{
    QStringList result;
    const QJsonValue value = valueFor(key, QStringLiteral("array")).value(QStringLiteral("array"));
    if (value.isUndefined()) {
        return result;
    }
    if (!value.isArray()) {
        fail();
        return result;
    }
    for (const QJsonValue& element : value.toArray()) {
        const QJsonObject item = element.toObject();
        if (item.contains(kNull)) {
            result.append(QString());
        } else if (item.value(kString).isString()) {
            result.append(item.value(kString).toString());
        } else {
            fail();
        }
    }
    return result;
}

QList<RKKeyedUnarchiver> RKKeyedUnarchiver::decodeObjectArray(const QString& key) const
{
    QList<RKKeyedUnarchiver> result;
    const QJsonValue value = valueFor(key, QStringLiteral("array")).value(QStringLiteral("array"));
    if (value.isUndefined()) {
        return result;
    }
    if (!value.isArray()) {
        fail();
        return result;
    }
    for (const QJsonValue& element : value.toArray()) {
        const QJsonValue object = element.toObject().value(QStringLiteral("object"));
        if (!object.isObject() || object.toObject().isEmpty()) {
            fail();
            continue;
        }
        result.append(RKKeyedUnarchiver(object.toObject(), m_failure));
    }
    return result;
}
