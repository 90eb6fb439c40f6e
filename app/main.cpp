#include "mainwindow.h"

#include <QApplication>

int main(int argc, char* argv[])
{
    Q_INIT_RESOURCE(camera_ui_resources);
    QApplication application(argc, argv);
    MainWindow window;
    window.show();
    return application.exec();
}
