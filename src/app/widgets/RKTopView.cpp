#include "app/widgets/RKTopView.h"

#include "app/RKDispatch.h"
#include "app/widgets/RKAppDelegate.h"
#include "app/widgets/RKDroppableView.h"
#include "app/widgets/RKLogoImageView.h"
#include "platform/RKAppInfo.h"
#include "settings/RKSetting.h"
#include "ui/RKProfilePopUpButton.h"
#include "ui/RKUnArchiveProfilePopUpButton.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

RKTopView::RKTopView(RKAppDelegate* appDelegate, QWidget* parent)
    : QWidget(parent)
    , m_appDelegate(appDelegate)
{
    setObjectName(QStringLiteral("topView"));

    m_logoImageView = new RKLogoImageView(this);
    m_logoImageView->setObjectName(QStringLiteral("logoImageView"));

    auto* title = new QLabel(RKAppInfo::applicationTitle(), this);
    QFont titleFont = title->font();
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.6);
    titleFont.setBold(true);
    title->setFont(titleFont);
    auto* subtitle = new QLabel(QString::fromUtf16(u"ZIP 圧縮・解凍ツール"), this);
    QPalette subtitlePalette = subtitle->palette();
    QColor subtitleColour = subtitlePalette.color(QPalette::WindowText);
    subtitleColour.setAlpha(160);
    subtitlePalette.setColor(QPalette::WindowText, subtitleColour);
    subtitle->setPalette(subtitlePalette);

    auto* titles = new QVBoxLayout;
    titles->setSpacing(2);
    titles->addStretch();
    titles->addWidget(title);
    titles->addWidget(subtitle);
    titles->addStretch();

    auto* header = new QHBoxLayout;
    header->setSpacing(14);
    header->addWidget(m_logoImageView);
    header->addLayout(titles, 1);

    m_profilePopUp = new RKProfilePopUpButton(this);
    m_profilePopUp->setObjectName(QStringLiteral("profilePopUp"));
    m_unArchiveProfilePopUp = new RKUnArchiveProfilePopUpButton(this);
    m_unArchiveProfilePopUp->setObjectName(QStringLiteral("unArchiveProfilePopUp"));
    for (QWidget* popUp : {static_cast<QWidget*>(m_profilePopUp),
                           static_cast<QWidget*>(m_unArchiveProfilePopUp)}) {
        popUp->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    }

    auto* form = new QFormLayout;
    form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    form->setHorizontalSpacing(12);
    form->setVerticalSpacing(8);
    form->addRow(QString::fromUtf16(u"圧縮プロファイル"), m_profilePopUp);
    form->addRow(QString::fromUtf16(u"解凍プロファイル"), m_unArchiveProfilePopUp);

    m_zipDropPanel = new RKDroppableView(this);
    m_zipDropPanel->setObjectName(QStringLiteral("zipDropPanel"));
    m_zipDropPanel->setDelegate(this);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 20);
    layout->setSpacing(14);
    layout->addLayout(header);
    layout->addLayout(form);
    layout->addWidget(m_zipDropPanel, 1);

    loadProfilePopUps();
}

void RKTopView::loadProfilePopUps()
{
    m_profilePopUp->loadItems();
    m_unArchiveProfilePopUp->loadItems();
    const RKSetting setting = RKSetting::Setting();
    if (const auto active = setting.archiveProfileWithID(setting.activeArchiveProfileID)) {
        m_profilePopUp->setSelectedProfile(*active);
    }
    if (const auto active = setting.unArchiveProfileWithID(setting.activeUnArchiveProfileID)) {
        m_unArchiveProfilePopUp->setSelectedProfile(*active);
    }
}

void RKTopView::reloadProfilePopUps()
{
    const auto archiveShown = m_profilePopUp->selectedProfile();
    m_profilePopUp->loadItems();
    if (archiveShown) {
        m_profilePopUp->setSelectedProfile(*archiveShown);
    } else if (m_profilePopUp->count() > 0) {
        m_profilePopUp->setCurrentIndex(0);
    }

    const auto unArchiveShown = m_unArchiveProfilePopUp->selectedProfile();
    m_unArchiveProfilePopUp->loadItems();
    if (unArchiveShown) {
        m_unArchiveProfilePopUp->setSelectedProfile(*unArchiveShown);
    } else if (m_unArchiveProfilePopUp->count() > 0) {
        m_unArchiveProfilePopUp->setCurrentIndex(0);
    }
}

void RKTopView::droppableViewItemDropped(RKDroppableView* view, const QStringList& paths)
{
    Q_UNUSED(view);
    if (m_appDelegate == nullptr) {
        return;
    }
    RKSetting setting = RKSetting::Setting();
    switch (m_appDelegate->checkItems(paths)) {
    case RKDispatch::ItemKindCompress: {
        const auto profile = m_profilePopUp->selectedProfile();
        if (!profile) {
            return;
        }
        setting.activeArchiveProfileID = profile->profileID;
        setting.commit();
        m_appDelegate->doArchive(paths, *profile);
        break;
    }
    case RKDispatch::ItemKindExtract: {
        const auto profile = m_unArchiveProfilePopUp->selectedProfile();
        if (!profile) {
            return;
        }
        setting.activeUnArchiveProfileID = profile->profileID;
        setting.commit();
        m_appDelegate->doUnArchive(paths, *profile);
        break;
    }
    default:
        m_appDelegate->showMixedItemsAlert(false);
        break;
    }
}
