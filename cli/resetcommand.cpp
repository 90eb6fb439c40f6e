#include "resetcommand.h"

#include "commandoutput.h"

#include <opencamera.h>
#include <refused.h>

#include <imageacquisition/imageacquisition.h>

using namespace Tarvello;

QString ResetCommand::name() const { return "reset"; }
QString ResetCommand::summary() const
{
    return "Soft-reset the camera: its controls go back to their defaults; format and stream are kept.";
}
void ResetCommand::setUp(QCommandLineParser&) const {}

int ResetCommand::run(const QCommandLineParser& parser, CommandOutput& output)
{
    const OpenCamera open(device(parser));
    try {
        open.camera().reset();
    } catch (const std::exception& error) {
        throw Refused(QString("The camera refused the reset: %1").arg(QString::fromUtf8(error.what()).trimmed()));
    }
    output.out() << "Reset " << open.entry().name << ".\n";
    return 0;
}
