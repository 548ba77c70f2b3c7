#pragma once

#include "settings/RKUnArchiveProfileSetting.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <memory>
#include <optional>

// Shared by the unarchive suite.
namespace UnArchiveTestSupport {

// Makes the entries below root: "x/" a folder, anything else a file holding content.
void makeTree(const QString& root, const QStringList& entries, const QByteArray& content);
// The tree below root, sorted: "dir/", "file=content", "link->target" (as stored).
QStringList snapshot(const QString& root);
// UTF-8 names, no exclusions.
RKUnArchiveProfileSetting profile(qint32 unArchiveMode = 1, qint32 sameFileName = 0);

} // namespace UnArchiveTestSupport

// Inputs go below in(), outputs below out(). After each test the frozen inputs
// are unchanged, nothing appeared beside out() and no working folder is left.
class UnArchiveTest : public ::testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;
    QString in(const QString& relative = QString()) const;
    QString out(const QString& relative = QString()) const;
    void freezeInputs();

private:
    std::unique_ptr<QTemporaryDir> m_root;
    std::optional<QStringList> m_inputs;
};
