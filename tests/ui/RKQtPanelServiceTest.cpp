#include "support/TestEnvironment.h"
#include "ui/RKOpenPanel.h"
#include "ui/RKQtPanelService.h"
#include "ui/RKSavePanel.h"

#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>

namespace {

// What the panel looked like when it came up.
struct Seen {
    bool isSave = false;
    QString title;
    QString message;
    QString directory;
    QString proposedName;
    QFileDialog::FileMode fileMode = QFileDialog::AnyFile;
    bool dirsOnly = false;
    bool canCreateFolders = false;
    QPoint position;
    QSize size;
    bool onMainThread = false;
};

class RKQtPanelServiceTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        QDir(dir.path()).mkpath(QStringLiteral("Documents/sub"));
        documents = dir.filePath(QStringLiteral("Documents"));
        parent.setGeometry(150, 80, 900, 700);
        parent.show();
    }

    // Answers the next panel: looks at it, then lets act finish it.
    void answerNextPanel(std::function<void(QFileDialog*)> act)
    {
        QTimer::singleShot(0, &parent, [this, act] {
            auto* panel = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            if (!panel) {
                // The hand-off to the main thread may not have arrived yet.
                answerNextPanel(act);
                return;
            }
            seen.isSave = qobject_cast<RKSavePanel*>(panel) != nullptr;
            seen.title = panel->windowTitle();
            seen.message = panel->findChild<QLabel*>(QStringLiteral("message"))->text();
            seen.directory = panel->directory().absolutePath();
            seen.proposedName = panel->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->text();
            seen.fileMode = panel->fileMode();
            seen.dirsOnly = panel->testOption(QFileDialog::ShowDirsOnly);
            seen.canCreateFolders = !panel->testOption(QFileDialog::ReadOnly);
            seen.position = panel->pos();
            seen.size = panel->size();
            seen.onMainThread = QThread::currentThread() == qApp->thread();
            act(panel);
        });
    }

    static void typeAndAccept(QFileDialog* panel, const QString& name)
    {
        panel->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(name);
        static_cast<QDialog*>(panel)->accept();
    }

    QPoint centred() const
    {
        return {150 + (900 - seen.size.width()) / 2, 80 + (700 - seen.size.height()) / 2};
    }

    QTemporaryDir dir;
    QString documents;
    QWidget parent;
    RKQtPanelService service;
    Seen seen;
};

TEST_F(RKQtPanelServiceTest, SavePanelProposesFolderAndNameOnTheMainThread)
{
    answerNextPanel([](QFileDialog* panel) { typeAndAccept(panel, QStringLiteral("b.zip")); });
    const QString chosen = service.showModalSavePanel(&parent, "MOKUZA-FULL", "a.zipの保存先を選択して下さい。",
                                                      documents + "/a.zip", {"zip"});
    EXPECT_EQ(chosen, documents + "/b.zip");
    EXPECT_TRUE(seen.isSave);
    EXPECT_EQ(seen.title, QStringLiteral("MOKUZA-FULL"));
    EXPECT_EQ(seen.message, QStringLiteral("a.zipの保存先を選択して下さい。"));
    EXPECT_EQ(seen.directory, documents);
    EXPECT_EQ(seen.proposedName, QStringLiteral("a.zip"));
    EXPECT_EQ(seen.position, centred());
}

TEST_F(RKQtPanelServiceTest, SavePanelFromAWorkerRunsOnTheMainThread)
{
    answerNextPanel([](QFileDialog* panel) { typeAndAccept(panel, QStringLiteral("w.zip")); });
    QString chosen;
    std::atomic<bool> done{false};
    std::thread worker([&] {
        chosen = service.showModalSavePanel(&parent, "MOKUZA-FULL", "m", documents + "/a.zip", {"zip"});
        done = true;
    });
    const bool answered = TestEnvironment::waitFor([&] { return done.load(); });
    worker.join();
    ASSERT_TRUE(answered);
    EXPECT_TRUE(seen.onMainThread);
    EXPECT_EQ(chosen, documents + "/w.zip");
    EXPECT_EQ(seen.position, centred());
}

struct TypedNameCase {
    const char* name;
    QStringList types;
    QString typed;
    QString saved;
};

class RKSavePanelTypes : public ::testing::TestWithParam<TypedNameCase>
{
};

TEST_P(RKSavePanelTypes, AppendsTheTypeWhenMissing)
{
    const TypedNameCase& row = GetParam();
    EXPECT_EQ(RKSavePanel::nameWithAllowedType(row.typed, row.types), row.saved);
}

INSTANTIATE_TEST_SUITE_P(
    Names, RKSavePanelTypes,
    ::testing::Values(
        TypedNameCase{"PlainNameGetsZip", {"zip"}, "a", "a.zip"},
        TypedNameCase{"ZipKept", {"zip"}, "a.zip", "a.zip"},
        TypedNameCase{"UppercaseZipKept", {"zip"}, "A.ZIP", "A.ZIP"},
        TypedNameCase{"OtherSuffixGetsZip", {"zip"}, "a.txt", "a.txt.zip"},
        TypedNameCase{"BareSuffixIsNoName", {"zip"}, ".zip", ".zip.zip"},
        TypedNameCase{"NoTypesAnyName", {}, "a.txt", "a.txt"}),
    [](const ::testing::TestParamInfo<TypedNameCase>& info) { return std::string(info.param.name); });

TEST_F(RKQtPanelServiceTest, ProposesTheArchiveNameOfADroppedItem)
{
    QDir(documents).mkpath(QStringLiteral("big"));
    const struct {
        QString proposed;
        QStringList types;
        QString name;
    } rows[] = {
        {documents + "/a.zip", {"zip"}, "a.zip"},
        {documents + "/notes.txt", {"zip"}, "notes.zip"},
        {documents + "/README", {"zip"}, "README.zip"},
        // The folder's own name would make Return open the folder.
        {documents + "/big", {"zip"}, "big.zip"},
        {documents + "/notes.txt", {}, "notes.txt"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(RKSavePanel::proposedName(QFileInfo(row.proposed), row.types), row.name)
            << row.proposed.toStdString();
    }
}

TEST_F(RKQtPanelServiceTest, TypedNameGetsTheAllowedType)
{
    answerNextPanel([](QFileDialog* panel) { typeAndAccept(panel, QStringLiteral("typed")); });
    EXPECT_EQ(service.showModalSavePanel(&parent, "T", "M", documents + "/a.zip", {"zip"}),
              documents + "/typed.zip");
}

TEST_F(RKQtPanelServiceTest, CancelledPanelsGiveNoPath)
{
    answerNextPanel([](QFileDialog* panel) { panel->reject(); });
    EXPECT_TRUE(service.showModalSavePanel(&parent, "T", "M", documents + "/a.zip", {"zip"}).isNull());
    answerNextPanel([](QFileDialog* panel) { panel->reject(); });
    EXPECT_TRUE(service.showModalOpenPanel(&parent, "T", "M", documents, 1).isNull());
}

struct OpenCase {
    const char* name;
    int selectMode;
    const char* choose; // below Documents
    QFileDialog::FileMode fileMode;
    bool dirsOnly;
};

class RKOpenPanelModes : public RKQtPanelServiceTest, public ::testing::WithParamInterface<OpenCase>
{
};

TEST_P(RKOpenPanelModes, ChoosesWhatTheModeAllows)
{
    const OpenCase& row = GetParam();
    TestEnvironment::writeFile(documents + "/file.txt", "x");
    const QString target = documents + "/" + row.choose;
    answerNextPanel([&](QFileDialog* panel) { typeAndAccept(panel, target); });
    const QString chosen = service.showModalOpenPanel(&parent, "MOKUZA-FULL", "choose", documents,
                                                      row.selectMode);
    EXPECT_EQ(chosen, target);
    EXPECT_FALSE(seen.isSave);
    EXPECT_EQ(seen.directory, documents);
    EXPECT_EQ(seen.message, QStringLiteral("choose"));
    EXPECT_EQ(seen.fileMode, row.fileMode);
    EXPECT_EQ(seen.dirsOnly, row.dirsOnly);
    EXPECT_TRUE(seen.canCreateFolders);
    EXPECT_EQ(seen.position, centred());
}

INSTANTIATE_TEST_SUITE_P(
    Modes, RKOpenPanelModes,
    ::testing::Values(
        OpenCase{"FilesOnly", 0, "file.txt", QFileDialog::ExistingFile, false},
        OpenCase{"FoldersOnly", 1, "sub", QFileDialog::Directory, true},
        OpenCase{"BothTakesAFile", 2, "file.txt", QFileDialog::Directory, false},
        OpenCase{"BothTakesAFolder", 2, "sub", QFileDialog::Directory, false}),
    [](const ::testing::TestParamInfo<OpenCase>& info) { return std::string(info.param.name); });

} // namespace
