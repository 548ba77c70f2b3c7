#pragma once

#include <QString>

#include <vector>

// One node of an item tree: a dropped file or folder and, below a folder, its
// entries in the order in which the folder listing gave them. A value type; a
// tree is owned by its root node.
class RKFile
{
public:
    // Stores the path and asks the file system whether a folder is there
    // (symbolic links followed). The node starts without children, selected.
    explicit RKFile(const QString& filePath);
    // For a path whose folder test was already made (a folder listing).
    RKFile(const QString& filePath, bool isFolder);

    const QString& filePath() const { return m_filePath; }

    const std::vector<RKFile>& child() const { return m_child; }
    std::vector<RKFile>& child() { return m_child; }

    bool isFolder() const { return m_isFolder; }
    void setIsFolder(bool isFolder) { m_isFolder = isFolder; }

    // Kept for callers that let the user pick nodes; the archive job stores
    // every node it lists.
    bool isSelected() const { return m_isSelected; }
    void setIsSelected(bool isSelected) { m_isSelected = isSelected; }

private:
    QString m_filePath;
    std::vector<RKFile> m_child;
    bool m_isFolder = false;
    bool m_isSelected = true;
};
