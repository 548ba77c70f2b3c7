#pragma once

#include <QDialog>
#include <QUrl>

class QTextBrowser;

// The help page in a window of the application, for a desktop where no
// browser takes it: a rich-text browser over the same HTML file, whose links
// between sections work inside it (links to other places still go to the
// desktop). Not modal: it stays open beside the drop window.
class RKHelpWindow : public QDialog
{
    Q_OBJECT

public:
    explicit RKHelpWindow(QWidget* parent = nullptr);

    // Shows page (a local file), at its top.
    void showPage(const QUrl& page);

    QTextBrowser* browser() const { return m_browser; }

private:
    QTextBrowser* m_browser;
};
