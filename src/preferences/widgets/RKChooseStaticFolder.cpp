#include "preferences/widgets/RKChooseStaticFolder.h"

#include "platform/RKAppInfo.h"
#include "platform/RKPanelService.h"

#include <QLineEdit>

void RKChooseStaticFolder(QWidget* parent, QString& folder, QLineEdit* field)
{
    const QString chosen =
        showModalOpenPanel(parent, RKAppInfo::applicationTitle(),
                           QString::fromUtf16(u"保存先を選択して下さい。"), folder, 1);
    if (chosen.isNull()) {
        return;
    }
    folder = chosen;
    field->setText(chosen);
}
