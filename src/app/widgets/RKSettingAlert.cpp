#include "app/widgets/RKSettingAlert.h"

#include "platform/RKAppInfo.h"

#include <QCoreApplication>
#include <QGridLayout>
#include <QMessageBox>

namespace {
// Wide enough for the path and the key on a line of their own each.
constexpr int kMinimumTextWidth = 480;
}

void RKSettingAlert::settingsFileSetAside(const QString& copyPath)
{
    show(fileSetAsideText(copyPath));
}

void RKSettingAlert::settingsValueSetAside(const QString& settingsPath, const QString& key)
{
    show(valueSetAsideText(settingsPath, key));
}

QString RKSettingAlert::fileSetAsideText(const QString& copyPath)
{
    return QString::fromUtf16(u"設定ファイルを読み込めなかったため、初期設定で始めます。"
                              u"元のファイルは次の名前で残してあります。\n\n%1")
        .arg(copyPath);
}

QString RKSettingAlert::valueSetAsideText(const QString& settingsPath, const QString& key)
{
    return QString::fromUtf16(u"保存されていた設定を読み込めなかったため、初期設定で始めます。"
                              u"元の設定は設定ファイルの次のキーに残してあります。\n\n"
                              u"ファイル: %1\nキー: %2")
        .arg(settingsPath, key);
}

void RKSettingAlert::show(const QString& informativeText)
{
    QMetaObject::invokeMethod(
        QCoreApplication::instance(),
        [this, informativeText] {
            QWidget* window = m_window.data();
            auto* alert = new QMessageBox(window);
            alert->setAttribute(Qt::WA_DeleteOnClose);
            alert->setObjectName(QStringLiteral("settingAlert"));
            alert->setIcon(QMessageBox::Warning);
            alert->setWindowTitle(RKAppInfo::applicationTitle());
            alert->setText(QString::fromUtf16(u"設定を読み込めませんでした"));
            alert->setInformativeText(informativeText);
            alert->addButton(QStringLiteral("OK"), QMessageBox::AcceptRole);
            if (auto* grid = qobject_cast<QGridLayout*>(alert->layout())) {
                grid->addItem(new QSpacerItem(kMinimumTextWidth, 0, QSizePolicy::Minimum,
                                              QSizePolicy::Minimum),
                              grid->rowCount(), 0, 1, grid->columnCount());
            }
            alert->setWindowModality(window ? Qt::WindowModal : Qt::ApplicationModal);
            alert->open();
        },
        Qt::QueuedConnection);
}
