#include "platform/RKAppInfo.h"
#include "settings/RKSetting.h"

#include <QApplication>
#include <QMainWindow>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QApplication::setOrganizationName(RKAppInfo::organizationName());
    QApplication::setApplicationName(RKAppInfo::applicationName());
    // A first run stores the factory profiles.
    RKSetting::Setting();
    QMainWindow window;
    window.setWindowTitle(RKAppInfo::applicationTitle());
    window.resize(480, 360);
    window.show();
    return app.exec();
}
