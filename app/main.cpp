#include "mainwindow.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QTextStream>

#include <cstring>

namespace {

// --help and --version are answered without a window, so they also work
// where there is no display; every other argument goes to Qt as before.
bool wantsHelpOrVersion(int argc, char* argv[])
{
    for (int i = 1; i < argc; ++i) {
        for (const char* option : {"-h", "--help", "--help-all", "-v", "--version"}) {
            if (std::strcmp(argv[i], option) == 0)
                return true;
        }
    }
    return false;
}

int answerHelpOrVersion(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName("tarvello-center");
    QCoreApplication::setApplicationVersion(TARVELLO_VERSION);
    QCommandLineParser parser;
    parser.setApplicationDescription(
        "Tarvello Center: live video and controls of Kelvane USB cameras.\n"
        "Qt's own options (-platform, -style, ...) are understood as well.\n"
        "tarvello-ctl(1) does the same from a shell.");
    parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    // Qt's options are not known here; they do not spoil the answer.
    parser.parse(QCoreApplication::arguments());
    QTextStream out(stdout);
    if (!parser.isSet(version))
        out << parser.helpText();
    else
        out << QCoreApplication::applicationName() << ' ' << QCoreApplication::applicationVersion() << '\n';
    return 0;
}

} // namespace

int main(int argc, char* argv[])
{
    if (wantsHelpOrVersion(argc, argv))
        return answerHelpOrVersion(argc, argv);
    Q_INIT_RESOURCE(camera_ui_resources);
    QApplication application(argc, argv);
    MainWindow window;
    window.show();
    return application.exec();
}
