#pragma once

#include "settings/RKUnArchiveProfileSetting.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <memory>
#include <optional>

class RKUnArchiveBase;

// Shared by the unarchive suite.
namespace UnArchiveTestSupport {

// Makes the entries below root: "x/" a folder, anything else a file holding content.
void makeTree(const QString& root, const QStringList& entries, const QByteArray& content);
// The tree below root, sorted: "dir/", "file=content", "link->target".
QStringList snapshot(const QString& root);
// Runs a peer tool; fails the test unless it exits 0.
void runTool(const QString& program, const QStringList& arguments, const QString& workingDirectory);
// An archive whose entry names are these raw bytes without the UTF-8 flag, as
// Windows writes them (made by Python's zipfile). Entry i holds the text i.
void writeRawNameArchive(const QString& archivePath, const QList<QByteArray>& rawNames);
// New folder per archive, ask on clashes, UTF-8 names, no exclusions.
RKUnArchiveProfileSetting profile(qint32 unArchiveMode = 1, qint32 sameFileName = 0);
// Makes the job of the named class ("SingleAnyTime" …), starts it and turns
// the event loop until it emitted finished(); returns how often it did.
int runJob(const QString& jobClass, const QStringList& items, const RKUnArchiveProfileSetting& profile);

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
