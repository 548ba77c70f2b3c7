#pragma once

#include <QByteArray>
#include <QHash>
#include <QSet>
#include <QString>

#include <optional>

// The stored names of the entries of one archive being written: each name in
// the names encoding, and never the same bytes twice, so that no entry hides
// another when the archive is extracted.
//
// With Shift-JIS the name is first normalised (NFKC) and given the forms
// Windows shows for characters code page 932 lacks (〜 − ¬ ‖ — ¢ £ ¦). A
// character that still has no form in the encoding becomes "_", the rest of
// the name and its folders kept. A name taken already, by a file or a folder,
// is numbered as placing numbers a taken name ("画像1 2.txt", "写真 2"), and
// the items inside a numbered folder follow it.
class ZipStoredNames
{
public:
    struct Name {
        // The stored bytes (a folder's end in "/"); null when even with "_"
        // the name has no form in the encoding (the container then stores
        // "-").
        QByteArray bytes;
        bool charactersReplaced = false;
        bool numbered = false;
    };

    // Forgets every name: a new archive begins.
    void clear();

    // Decides and takes the stored name of the item given as name (folders
    // without their "/"), in the encoding.
    Name claim(const QString& name, bool isFolder, quint64 encoding);

private:
    // The name as it is stored, and its bytes (nullopt: it has no form).
    QString storedForm(const QString& name, quint64 encoding, bool* replaced,
                       std::optional<QByteArray>* bytes) const;

    QSet<QByteArray> m_taken; // stored bytes without a folder's "/"
    // A folder's given name → the numbered form its contents follow.
    QHash<QString, QString> m_numberedFolders;
};
