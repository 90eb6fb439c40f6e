#include "commandoutput.h"
#include "ctlprogram.h"

#include <QCoreApplication>

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName("tarvello-ctl");
    QCoreApplication::setApplicationVersion(TARVELLO_VERSION);
    CommandOutput output;
    return CtlProgram().run(QCoreApplication::arguments(), output);
}
