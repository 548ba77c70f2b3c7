#include "preferences/widgets/RKUnArchiveProfileWindow.h"

#include "preferences/RKProfileEntryCheck.h"
#include "preferences/widgets/RKChooseStaticFolder.h"
#include "preferences/widgets/RKUnArchiveProfileWindowDelegate.h"
#include "settings/RKSetting.h"
#include "ui/RKErrorSheet.h"
#include "ui/RKWindowFit.h"
#include "ui_RKUnArchiveProfileWindow.h"

#include <QPushButton>

RKUnArchiveProfileWindow::RKUnArchiveProfileWindow(QWidget* parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::RKUnArchiveProfileWindow>())
{
    ui->setupUi(this);
    connect(ui->btnAdd, &QPushButton::clicked, this, &RKUnArchiveProfileWindow::btnAddTouchUpInside);
    connect(ui->btnCancel, &QPushButton::clicked, this, &RKUnArchiveProfileWindow::btnCancelTouchUpInside);
    connect(ui->btnStaticFolderOpen, &QPushButton::clicked, this,
            &RKUnArchiveProfileWindow::btnStaticFolderOpenTouchUpInside);
    RKFitToText(this);
}

RKUnArchiveProfileWindow::~RKUnArchiveProfileWindow() = default;

void RKUnArchiveProfileWindow::setTargetProfile(std::shared_ptr<RKUnArchiveProfileSetting> profile)
{
    m_profile = std::move(profile);
    if (!m_profile) {
        return;
    }
    const RKUnArchiveProfileSetting& p = *m_profile;
    ui->txtProfileName->setText(p.profileName);
    ui->pubSourceEncode->setSelectEncoding(p.sourceEncoding);
    ui->pubUnArchiveMode->setSelecteUnArchiveMode(p.unArchiveMode);
    ui->saveMatrix->selectValue(p.saveLocation);
    ui->txtSaveStaticFolderPath->setText(p.saveStaticFolderPath);
    ui->sameNameMatrix->selectValue(p.sameFileName);
    ui->tfExclusionFiles->setExclusionFiles(p.exclusionFiles);
    ui->tfExclusionFolders->setExclusionFolders(p.exclusionFolders);

    ui->srProfileShotcut->setDelegate(this);
    ui->srProfileShotcut->setAllowsKeyOnly(true, false);
    ui->srProfileShotcut->setKeyCombo(SRMakeKeyCombo(qint64(p.profileShotcutCode), quint64(p.profileShotcutFlags)));
    ui->txtProfileName->setFocus(Qt::OtherFocusReason);
}

void RKUnArchiveProfileWindow::btnAddTouchUpInside()
{
    if (!m_profile) {
        return;
    }
    const _KeyCombo combination = ui->srProfileShotcut->keyCombo();
    const QString refusal =
        RKProfileEntryCheck(ui->txtProfileName->text(), *m_profile, combination, RKSetting::Setting());
    if (!refusal.isNull()) {
        RKShowErrorSheet(this, refusal);
        return;
    }

    RKUnArchiveProfileSetting& p = *m_profile;
    p.profileName = ui->txtProfileName->text();
    p.sourceEncoding = ui->pubSourceEncode->selectedEncoding();
    p.unArchiveMode = ui->pubUnArchiveMode->selectedUnArchiveMode();
    p.saveLocation = ui->saveMatrix->selectedValue();
    p.saveStaticFolderPath = ui->txtSaveStaticFolderPath->text();
    p.sameFileName = ui->sameNameMatrix->selectedValue();
    p.exclusionFiles = ui->tfExclusionFiles->arrayExclusionFiles();
    p.exclusionFolders = ui->tfExclusionFolders->arrayExclusionFolders();
    p.profileShotcutCode = quint64(combination.code);
    p.profileShotcutFlags = qint64(combination.flags);

    done(QDialog::Accepted);
    if (m_delegate) {
        m_delegate->unArchiveProfileWindowRegister(this, m_profile);
    }
}

void RKUnArchiveProfileWindow::btnCancelTouchUpInside()
{
    done(QDialog::Rejected);
    if (m_delegate) {
        m_delegate->unArchiveProfileWindowCansel(this);
    }
}

void RKUnArchiveProfileWindow::reject()
{
    btnCancelTouchUpInside();
}

void RKUnArchiveProfileWindow::btnStaticFolderOpenTouchUpInside()
{
    if (!m_profile) {
        return;
    }
    RKChooseStaticFolder(this, m_profile->saveStaticFolderPath, ui->txtSaveStaticFolderPath);
}

