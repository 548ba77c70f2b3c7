#include "zip/ZipStoredNames.h"

#include "platform/RKStringEncoding.h"
#include "zip/ZipNumberedName.h"

#include <array>
#include <utility>

namespace {

constexpr quint64 kShiftJIS = 8;

// Characters that input methods on Linux and macOS type, or that NFKC makes of
// Windows' own full-width forms, but that code page 932 lacks: each becomes
// the character Windows shows with the same glyph, so the name survives.
QString windowsForms(QString name)
{
    static constexpr std::array<std::pair<char16_t, char16_t>, 8> kForms { {
        { u'\u301C', u'\uFF5E' }, // 〜 wave dash → ～
        { u'\u2212', u'\uFF0D' }, // − minus → －
        { u'\u00AC', u'\uFFE2' }, // ¬ → ￢
        { u'\u2016', u'\u2225' }, // ‖ → ∥
        { u'\u2014', u'\u2015' }, // — em dash → ―
        { u'\u00A2', u'\uFFE0' }, // ¢ → ￠
        { u'\u00A3', u'\uFFE1' }, // £ → ￡
        { u'\u00A6', u'\uFFE4' }, // ¦ → ￤
    } };
    for (QChar& c : name) {
        for (const auto& [from, to] : kForms) {
            if (c.unicode() == from) {
                c = QChar(to);
            }
        }
    }
    return name;
}

} // namespace

void ZipStoredNames::clear()
{
    m_taken.clear();
    m_numberedFolders.clear();
}

QString ZipStoredNames::storedForm(const QString& name, quint64 encoding, bool* replaced,
                                   std::optional<QByteArray>* bytes) const
{
    QString form = name;
    if (encoding == kShiftJIS) {
        form = windowsForms(RKStringEncoding::precomposedStringWithCompatibilityMapping(form));
    }
    *replaced = false;
    *bytes = RKStringEncoding::encode(form, encoding);
    if (*bytes) {
        return form;
    }
    // Only what cannot be written goes: a character (a surrogate pair taken
    // whole) without a form becomes "_".
    QString kept;
    kept.reserve(form.size());
    for (qsizetype i = 0; i < form.size();) {
        const bool pair = form.at(i).isHighSurrogate() && i + 1 < form.size()
            && form.at(i + 1).isLowSurrogate();
        const qsizetype length = pair ? 2 : 1;
        const QString character = form.mid(i, length);
        if (RKStringEncoding::encode(character, encoding)) {
            kept += character;
        } else {
            kept += QLatin1Char('_');
            *replaced = true;
        }
        i += length;
    }
    *bytes = RKStringEncoding::encode(kept, encoding);
    return kept;
}

ZipStoredNames::Name ZipStoredNames::claim(const QString& name, bool isFolder, quint64 encoding)
{
    Name result;
    // The contents of a folder that was numbered go into the numbered folder.
    QString form;
    qsizetype followed = 0;
    if (!m_numberedFolders.isEmpty()) {
        for (qsizetype slash = name.indexOf(QLatin1Char('/')); slash > 0;
             slash = name.indexOf(QLatin1Char('/'), slash + 1)) {
            const auto folder = m_numberedFolders.constFind(name.left(slash));
            if (folder != m_numberedFolders.constEnd()) {
                form = folder.value();
                followed = slash;
            }
        }
    }
    std::optional<QByteArray> key;
    form += storedForm(name.mid(followed), encoding, &result.charactersReplaced, &key);
    if (followed > 0) {
        key = RKStringEncoding::encode(form, encoding);
    }
    if (!key) {
        return result;
    }
    if (m_taken.contains(*key)) {
        const qsizetype slash = form.lastIndexOf(QLatin1Char('/'));
        const QString parent = form.left(slash + 1);
        const QString leaf = form.mid(slash + 1);
        for (int number = 2;; ++number) {
            const QString candidate = parent
                + (isFolder ? ZipNumberedName::folderName(leaf, number)
                            : ZipNumberedName::fileName(leaf, number));
            key = RKStringEncoding::encode(candidate, encoding);
            if (!key) {
                return result;
            }
            if (!m_taken.contains(*key)) {
                form = candidate;
                break;
            }
        }
        result.numbered = true;
        if (isFolder) {
            m_numberedFolders.insert(name, form);
        }
    }
    m_taken.insert(*key);
    if (isFolder) {
        const std::optional<QByteArray> bytes =
            RKStringEncoding::encode(form + QLatin1Char('/'), encoding);
        result.bytes = bytes ? *bytes : QByteArray();
    } else {
        result.bytes = *std::move(key);
    }
    return result;
}
