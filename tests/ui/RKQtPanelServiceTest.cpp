#include "support/TestEnvironment.h"
#include "ui/RKOpenPanel.h"
#include "ui/RKQtPanelService.h"
#include "ui/RKSavePanel.h"
#include "ui/RKTranslations.h"

#include <QApplication>
#include <QDir>
#include <QFileSystemModel>
#include <QLabel>
#include <QLineEdit>
#include <QScreen>
#include <QTemporaryDir>
#include <QThread>
#include <QTreeView>
#include <QHeaderView>
#include <QTimer>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>

namespace {

// What the panel looked like when it came up, beside what every panel shows.
struct Seen {
    bool isSave = false;
    QString message, proposedName;
    QFileDialog::FileMode fileMode = QFileDialog::AnyFile;
    bool dirsOnly = false, canCreateFolders = false;
};

class RKQtPanelServiceTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        QDir(dir.path()).mkpath(QStringLiteral("Documents/sub"));
        TestEnvironment::writeFile(documents + "/file.txt", "x");
        parent.setGeometry(150, 80, 900, 700);
        parent.show();
    }

    // Answers the next panel: checks that it runs on the main thread centred
    // over the parent (size unchanged) in Documents, records the rest, then
    // types the name (an empty one cancels) and confirms.
    void answerNextPanel(const QString& name)
    {
        QTimer::singleShot(0, &parent, [this, name] {
            auto* panel = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            if (!panel) {
                // The hand-off from a worker may not have arrived yet.
                answerNextPanel(name);
                return;
            }
            auto* nameEdit = panel->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
            EXPECT_EQ(QThread::currentThread(), qApp->thread());
            EXPECT_EQ(panel->windowTitle(), QStringLiteral("MOKUZA-FULL"));
            EXPECT_EQ(panel->directory().absolutePath(), documents);
            EXPECT_EQ(panel->geometry().topLeft(),
                      QPoint(150 + (900 - panel->width()) / 2, 80 + (700 - panel->height()) / 2));
            seen = {qobject_cast<RKSavePanel*>(panel) != nullptr, panel->findChild<QLabel*>(QStringLiteral("message"))->text(),
                    nameEdit->text(), panel->fileMode(), panel->testOption(QFileDialog::ShowDirsOnly),
                    !panel->testOption(QFileDialog::ReadOnly)};
            if (name.isEmpty()) {
                panel->reject();
            } else {
                nameEdit->setText(name);
                static_cast<QDialog*>(panel)->accept();
            }
        });
    }

    QTemporaryDir dir;
    QString documents = dir.filePath(QStringLiteral("Documents"));
    QWidget parent;
    RKQtPanelService service;
    Seen seen;
};

// Called on the main thread or from a worker, the panel runs on the main
// thread; it proposes the folder and name of the location, adds the allowed
// type to a typed name without it, and answers no path when cancelled.
TEST_F(RKQtPanelServiceTest, SavePanelFromEitherThread)
{
    const std::tuple<bool, QString, QString> rows[] = {
        {false, "b.zip", documents + "/b.zip"}, {true, "w.zip", documents + "/w.zip"},
        {false, "typed", documents + "/typed.zip"}, {true, "", QString()}, {false, "", QString()},
    };
    for (const auto& [fromWorker, typed, expected] : rows) {
        SCOPED_TRACE(typed.toStdString() + (fromWorker ? " from a worker" : " on the main thread"));
        answerNextPanel(typed);
        const auto ask = [&] { return service.showModalSavePanel(&parent, "MOKUZA-FULL", "a.zipの保存先を選択して下さい。", documents + "/a.zip", {"zip"}); };
        QString chosen;
        if (fromWorker) {
            std::atomic<bool> done{false};
            std::thread worker([&] { chosen = ask(); done = true; });
            const bool answered = TestEnvironment::waitFor([&] { return done.load(); });
            worker.join();
            ASSERT_TRUE(answered);
        } else {
            chosen = ask();
        }
        EXPECT_EQ(chosen, expected);
        EXPECT_EQ(chosen.isNull(), expected.isNull());
        EXPECT_TRUE(seen.isSave);
        EXPECT_EQ(seen.message, QStringLiteral("a.zipの保存先を選択して下さい。"));
        EXPECT_EQ(seen.proposedName, QStringLiteral("a.zip"));
    }
}

// The detail columns show their texts whole, in Japanese, once the folder is
// read, and a panel comes back with the size and view the last one of its
// kind had.
TEST_F(RKQtPanelServiceTest, PanelsWidenTheirColumnsAndKeepSizeAndView)
{
    ASSERT_TRUE(RKTranslations::install(*QCoreApplication::instance()));
    TestEnvironment::writeFile(documents + "/a much longer file name than the rest.zip", QByteArray(123456, 'x'));
    const auto nextPanel = [this](const std::function<void(QFileDialog*)>& check) {
        QTimer::singleShot(0, &parent, [check] {
            auto* panel = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            check(panel);
            panel->reject();
        });
        return service.showModalSavePanel(&parent, "MOKUZA-FULL", "", documents + "/a.zip", {"zip"});
    };
    nextPanel([](QFileDialog* panel) {
        auto* view = panel->findChild<QTreeView*>(QStringLiteral("treeView"));
        const auto fitted = [view] {
            for (int column = 1; column < 4; ++column) {
                if (view->header()->sectionSize(column) < static_cast<QAbstractItemView*>(view)->sizeHintForColumn(column)) {
                    return false;
                }
            }
            return view->model()->rowCount(view->rootIndex()) > 0;
        };
        EXPECT_TRUE(TestEnvironment::waitFor(fitted));
        const QModelIndex sub = panel->findChild<QFileSystemModel*>()->index(panel->directory().filePath("sub"));
        EXPECT_EQ(sub.siblingAtColumn(2).data().toString(), "フォルダ");
        EXPECT_EQ(view->model()->headerData(0, Qt::Horizontal).toString(), "名前");
        panel->setViewMode(QFileDialog::List);
        panel->resize(700, 450);
    });
    nextPanel([](QFileDialog* panel) {
        EXPECT_EQ(panel->size(), QSize(700, 450));
        EXPECT_EQ(panel->viewMode(), QFileDialog::List);
        panel->resize(3000, 2000);
    });
    // Kept larger than the screen (a smaller one, a larger scale): held to it.
    nextPanel([](QFileDialog* panel) {
        const QRect screen = panel->screen()->availableGeometry();
        EXPECT_TRUE(screen.contains(panel->geometry())) << panel->geometry().width() << "x" << panel->geometry().height();
    });
}

// A dropped item is proposed under its archive's name (a folder's own name
// would make Return open the folder); a typed name gets the first allowed
// type when it has none of them.
TEST(RKSavePanel, NamesGetTheAllowedType)
{
    QTemporaryDir dir;
    QDir(dir.path()).mkpath(QStringLiteral("big"));
    const std::tuple<QString, QStringList, QString> proposed[] = {
        {"a.zip", {"zip"}, "a.zip"}, {"notes.txt", {"zip"}, "notes.zip"}, {"README", {"zip"}, "README.zip"},
        {"big", {"zip"}, "big.zip"}, {"notes.txt", {}, "notes.txt"},
    };
    for (const auto& [name, types, expected] : proposed) {
        EXPECT_EQ(RKSavePanel::proposedName(QFileInfo(dir.filePath(name)), types), expected) << name.toStdString();
    }
    const std::tuple<QString, QStringList, QString> typed[] = {
        {"a", {"zip"}, "a.zip"}, {"A.ZIP", {"zip"}, "A.ZIP"}, {"a.txt", {"zip"}, "a.txt.zip"},
        {".zip", {"zip"}, ".zip.zip"}, {"a.txt", {}, "a.txt"},
    };
    for (const auto& [name, types, expected] : typed) {
        EXPECT_EQ(RKSavePanel::nameWithAllowedType(name, types), expected) << name.toStdString();
    }
}

// New folders can be made in every mode; mode 1 shows folders only, mode 2
// takes a file or a folder.
TEST_F(RKQtPanelServiceTest, OpenPanelChoosesWhatTheModeAllows)
{
    const std::tuple<int, const char*, QFileDialog::FileMode, bool> rows[] = {
        // mode, choice below Documents ("" cancels), file mode, folders only
        {0, "file.txt", QFileDialog::ExistingFile, false}, {1, "sub", QFileDialog::Directory, true},
        {1, "", QFileDialog::Directory, true},             {2, "file.txt", QFileDialog::Directory, false},
        {2, "sub", QFileDialog::Directory, false},
    };
    for (const auto& [mode, choice, fileMode, dirsOnly] : rows) {
        SCOPED_TRACE(std::to_string(mode) + " " + choice);
        const QString target = *choice ? documents + "/" + choice : QString();
        answerNextPanel(target);
        const QString chosen = service.showModalOpenPanel(&parent, "MOKUZA-FULL", "choose", documents, mode);
        EXPECT_EQ(chosen, target);
        EXPECT_EQ(chosen.isNull(), target.isNull());
        EXPECT_TRUE(!seen.isSave && seen.canCreateFolders);
        EXPECT_EQ(seen.message, QStringLiteral("choose"));
        EXPECT_EQ(seen.fileMode, fileMode);
        EXPECT_EQ(seen.dirsOnly, dirsOnly);
    }
}

} // namespace
