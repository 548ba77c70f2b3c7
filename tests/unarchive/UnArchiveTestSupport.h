#pragma once

#include "settings/RKUnArchiveProfileSetting.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <memory>

class RKUnArchiveBase;

// Shared by the unarchive suite.
namespace UnArchiveTestSupport {

// Makes every entry below root: names ending in "/" are folders, the others
// files holding `content`.
void makeTree(const QString& root, const QStringList& entries, const QByteArray& content);

// The tree below root as sorted lines: "dir/" for a folder, "name=content"
// for a file, "name->target" for a link.
QStringList snapshot(const QString& root);

// Runs a program in workingDirectory; fails the test when it does not exit 0.
void runTool(const QString& program, const QStringList& arguments,
             const QString& workingDirectory);

// Writes an archive with Python's zipfile whose entry names are the given
// raw bytes, stored without the UTF-8 flag, as Windows tools write them.
// Each entry holds its index as text; names ending in "/" are folders.
void writeRawNameArchive(const QString& archivePath, const QList<QByteArray>& rawNames);

// A profile: new folder per archive, ask on clashes, UTF-8 names, no exclusions.
RKUnArchiveProfileSetting profile(qint32 unArchiveMode = 1, qint32 sameFileName = 0);

// A job of the named class ("SingleAnyTime" … "MultiStaticFolder").
std::shared_ptr<RKUnArchiveBase> makeJob(const QString& jobClass, const QStringList& items,
                                         const RKUnArchiveProfileSetting& profile,
                                         QObject* window = nullptr);

// Starts the job and processes events until it has emitted finished().
// Returns how often it was emitted (0 when it never ended).
int runJob(const std::shared_ptr<RKUnArchiveBase>& job);

// The working folders of every run lie below this folder.
QString applicationTempFolder();

} // namespace UnArchiveTestSupport

// Every test works in its own folder: inputs go below in(), outputs below
// out(). After the test the inputs are unchanged, nothing else appeared
// outside out() and no working folder is left.
class UnArchiveTest : public ::testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    QString in(const QString& relative = QString()) const;
    QString out(const QString& relative = QString()) const;

    // Records the inputs as they are now; TearDown compares against this.
    void freezeInputs();

private:
    std::unique_ptr<QTemporaryDir> m_root;
    QStringList m_inputs;
    bool m_frozen = false;
};
