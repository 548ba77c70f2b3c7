#include "preferences/widgets/RKProfileWindow.h"

#include "preferences/RKProfileEntryCheck.h"
#include "preferences/widgets/RKChooseStaticFolder.h"
#include "preferences/widgets/RKProfileWindowDelegate.h"
#include "settings/RKSetting.h"
#include "ui/KSPasswordField.h"
#include "ui/RKErrorSheet.h"
#include "ui/RKWindowFit.h"
#include "ui_RKProfileWindow.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>

namespace {

constexpr int kRowHeight = 19;
const char* const kTagProperty = "tag";

// Column identifiers of the placeholder table, in column order.
QString columnIdentifier(int column)
{
    switch (column) {
    case 0:
        return QStringLiteral("FormatColumn");
    case 1:
        return QStringLiteral("DescColumn");
    default:
        return QStringLiteral("ButtonColumn");
    }
}

QLabel* textCell(const QString& text)
{
    auto* label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setFrameShape(QFrame::NoFrame);
    label->setAutoFillBackground(false);
    label->setContentsMargins(4, 0, 4, 0);
    return label;
}

} // namespace

QString RKProfileWindow::placeholderFormat(int row)
{
    static const char16_t* const formats[] = {u"{YYYY}", u"{YY}", u"{MM}", u"{DD}", u"{HOST}"};
    return row >= 0 && row < PlaceholderRows ? QString::fromUtf16(formats[row]) : QString();
}

QString RKProfileWindow::placeholderDescription(int row)
{
    static const char16_t* const descriptions[] = {u"西暦4桁", u"西暦2桁", u"月2桁", u"日2桁", u"ホスト名"};
    return row >= 0 && row < PlaceholderRows ? QString::fromUtf16(descriptions[row]) : QString();
}

RKProfileWindow::RKProfileWindow(QWidget* parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::RKProfileWindow>())
{
    ui->setupUi(this);
    ui->stPassword->setShowsText(false);

    QTableWidget* table = ui->passwordTableView;
    for (int column = 0; column < table->columnCount(); ++column) {
        table->horizontalHeaderItem(column)->setData(Qt::UserRole, columnIdentifier(column));
    }
    table->horizontalHeader()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    table->horizontalHeader()->setSectionResizeMode(1, QHeaderView::Stretch);
    table->horizontalHeader()->setSectionResizeMode(2, QHeaderView::ResizeToContents);
    table->horizontalHeader()->setHighlightSections(false);

    connect(ui->btnAdd, &QPushButton::clicked, this, &RKProfileWindow::btnAddTouchUpInside);
    connect(ui->btnCansel, &QPushButton::clicked, this, &RKProfileWindow::btnCanselTouchUpInside);
    connect(ui->btnStaticFolderOpen, &QPushButton::clicked, this,
            &RKProfileWindow::btnStaticFolderOpenTouchUpInside);
    connect(ui->btnShowPassword, &QCheckBox::clicked, this, &RKProfileWindow::btnShowPasswordTouchUpInside);
    RKFitToText(this);
}

RKProfileWindow::~RKProfileWindow() = default;

void RKProfileWindow::setTargetProfile(std::shared_ptr<RKProfileSetting> profile)
{
    m_profile = std::move(profile);
    if (!m_profile) {
        return;
    }
    const RKProfileSetting& p = *m_profile;
    ui->txtProfileName->setText(p.profileName);
    ui->pubDestEncode->setSelectEncoding(p.destEncoding);
    ui->pubArchiveMode->setSelecteArchiveMode(p.archiveMode);
    ui->pubArchiveLevel->setSelectArchiveLevel(p.archiveLevel);

    ui->passwordMatrix->selectValue(p.passMode);
    ui->stPassword->setText(p.password);
    ui->stPassword->setShowsText(p.passwordShow);
    ui->btnShowPassword->setChecked(p.passwordShow);

    ui->tfExclusionFiles->setExclusionFiles(p.exclusionFiles);
    ui->tfExclusionFolders->setExclusionFolders(p.exclusionFolders);

    ui->saveMatrix->selectValue(p.saveLocation);
    ui->txtSaveStaticFolderPath->setText(p.saveStaticFolderPath);
    ui->sameNameMatrix->selectValue(p.sameFileName);

    reloadPasswordTable();

    ui->srProfileShortCut->setDelegate(this);
    ui->srProfileShortCut->setAllowsKeyOnly(true, false);
    ui->srProfileShortCut->setKeyCombo(SRMakeKeyCombo(qint64(p.profileShotcutCode), quint64(p.profileShotcutFlags)));

    // Showing the password moved the focus to its entry; editing starts at the name.
    ui->txtProfileName->setFocus(Qt::OtherFocusReason);
}

void RKProfileWindow::reloadPasswordTable()
{
    QTableWidget* table = ui->passwordTableView;
    table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table->verticalHeader()->setMinimumSectionSize(kRowHeight);
    table->verticalHeader()->setDefaultSectionSize(kRowHeight);
    table->clearContents();
    table->setRowCount(numberOfRowsInTableView());
    QWidget* previous = ui->btnShowPassword;
    for (int row = 0; row < table->rowCount(); ++row) {
        for (int column = 0; column < table->columnCount(); ++column) {
            const QString identifier = table->horizontalHeaderItem(column)->data(Qt::UserRole).toString();
            QWidget* view = viewForTableColumn(identifier, row);
            table->setCellWidget(row, column, view);
            // The copy buttons come after the check box above the table.
            if (view && view->focusPolicy() != Qt::NoFocus) {
                setTabOrder(previous, view);
                previous = view;
            }
        }
    }
    setTabOrder(previous, ui->tfExclusionFiles);
    // Every row shows: the table is as tall as its rows.
    const int height = table->horizontalHeader()->sizeHint().height() + table->rowCount() * kRowHeight
                       + 2 * table->frameWidth();
    table->setFixedHeight(height);
}

QWidget* RKProfileWindow::viewForTableColumn(const QString& identifier, int row)
{
    if (identifier == QLatin1String("FormatColumn")) {
        return textCell(placeholderFormat(row));
    }
    if (identifier == QLatin1String("DescColumn")) {
        return textCell(placeholderDescription(row));
    }
    if (identifier == QLatin1String("ButtonColumn")) {
        auto* button = new QPushButton(QString::fromUtf16(u"コピー"));
        button->setProperty(kTagProperty, row);
        button->setObjectName(QStringLiteral("passwordFormatCopyButton%1").arg(row));
        button->setAutoDefault(false);
        button->setFixedHeight(kRowHeight);
        connect(button, &QPushButton::clicked, this,
                [this, button] { passwordFormatCopyButtonTouchUpInside(button); });
        return button;
    }
    return nullptr;
}

void RKProfileWindow::passwordFormatCopyButtonTouchUpInside(const QPushButton* sender)
{
    const QString placeholder = placeholderFormat(sender->property(kTagProperty).toInt());
    if (!placeholder.isEmpty()) {
        QGuiApplication::clipboard()->setText(placeholder);
    }
}

void RKProfileWindow::btnAddTouchUpInside()
{
    if (!m_profile) {
        return;
    }
    const _KeyCombo combination = ui->srProfileShortCut->keyCombo();
    const QString refusal =
        RKProfileEntryCheck(ui->txtProfileName->text(), *m_profile, combination, RKSetting::Setting());
    if (!refusal.isNull()) {
        RKShowErrorSheet(this, refusal);
        return;
    }

    RKProfileSetting& p = *m_profile;
    p.profileName = ui->txtProfileName->text();
    p.destEncoding = ui->pubDestEncode->selectedEncoding();
    p.archiveMode = ui->pubArchiveMode->selectedArchiveMode();
    p.archiveLevel = ui->pubArchiveLevel->selectedArchiveLevel();
    p.passMode = ui->passwordMatrix->selectedValue();
    p.password = ui->stPassword->text();
    p.passwordShow = ui->stPassword->showsText();
    p.exclusionFiles = ui->tfExclusionFiles->arrayExclusionFiles();
    p.exclusionFolders = ui->tfExclusionFolders->arrayExclusionFolders();
    p.saveLocation = ui->saveMatrix->selectedValue();
    p.saveStaticFolderPath = ui->txtSaveStaticFolderPath->text();
    p.sameFileName = ui->sameNameMatrix->selectedValue();
    p.profileShotcutCode = quint64(combination.code);
    p.profileShotcutFlags = qint64(combination.flags);

    done(QDialog::Accepted);
    if (m_delegate) {
        m_delegate->profileWindowRegister(this, m_profile);
    }
}

void RKProfileWindow::btnCanselTouchUpInside()
{
    done(QDialog::Rejected);
    if (m_delegate) {
        m_delegate->profileWindowCansel(this);
    }
}

void RKProfileWindow::reject()
{
    btnCanselTouchUpInside();
}

void RKProfileWindow::btnStaticFolderOpenTouchUpInside()
{
    if (!m_profile) {
        return;
    }
    RKChooseStaticFolder(this, m_profile->saveStaticFolderPath, ui->txtSaveStaticFolderPath);
}

void RKProfileWindow::btnShowPasswordTouchUpInside()
{
    const Qt::CheckState state = ui->btnShowPassword->checkState();
    if (state == Qt::PartiallyChecked) {
        return;
    }
    const bool show = state == Qt::Checked;
    ui->stPassword->setShowsText(show);
    if (m_profile) {
        m_profile->passwordShow = show;
    }
}

