#pragma once

#include <QString>
#include <QStringList>

#include <optional>
#include <sys/types.h>

// The destination of an extraction, reached only through file descriptors:
// every folder below the root is opened relative to its parent without
// following symbolic links, and files are always created as new inodes. An
// entry name therefore cannot lead outside the root, neither by its own
// components nor through a link or hard link that already exists inside it.
class ZipOutputFolder
{
public:
    ZipOutputFolder() = default;
    ~ZipOutputFolder();

    ZipOutputFolder(const ZipOutputFolder&) = delete;
    ZipOutputFolder& operator=(const ZipOutputFolder&) = delete;

    // The path components of a relative entry name ("/" separated; empty and
    // "." components dropped). nullopt for an absolute name, a ".." component
    // or a NUL character.
    static std::optional<QStringList> safeComponents(const QString& name);

    // Uses root (made with its missing parents) as the destination. Cheap when
    // the root is unchanged.
    bool setRoot(const QString& root);

    // Descriptor of the folder below the root (made as needed); -1 on failure.
    // Owned by this object and valid until the next call.
    int folder(const QStringList& components);

    // Creates leaf in the folder as a new file with mode (through the umask;
    // anything but a folder that is already there is replaced, never written
    // through). The caller owns the descriptor; -1 on failure.
    static int createFile(int folderFd, const QString& leaf, mode_t mode = 0666);

    // Makes leaf in the folder a symbolic link to target, replacing anything
    // but a folder. The target is not looked at.
    static bool createLink(int folderFd, const QString& leaf, const QByteArray& target);

    // True when something (a link included) already exists at leaf.
    static bool exists(int folderFd, const QString& leaf);

    void close();

private:
    void dropCachedFolder();

    QString m_root;
    int m_rootFd = -1;
    QStringList m_cachedComponents;
    int m_cachedFd = -1;
};
