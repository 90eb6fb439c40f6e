#include "setcommand.h"

#include "commandoutput.h"

#include <badinput.h>
#include <controlwriter.h>
#include <opencamera.h>

#include <imageacquisition/imageacquisition.h>

#include <QJsonArray>

using namespace Tarvello;

QString SetCommand::name() const { return "set"; }
QString SetCommand::summary() const
{
    return "Write controls. Every value is checked before the first is written; automatic modes are "
           "written before the values they govern.\n"
           "Values: numbers (decimal or 0x hex), booleans (on/off, true/false, 1/0), menu entries by "
           "text or by index as #N, texts, and a bare NAME presses a button.";
}
void SetCommand::setUp(QCommandLineParser& parser) const
{
    parser.addPositionalArgument("NAME=VALUE", "A control's name or key and its new value.", "NAME=VALUE...");
}

int SetCommand::run(const QCommandLineParser& parser, CommandOutput& output)
{
    if (parser.positionalArguments().isEmpty())
        throw BadInput("Give at least one NAME=VALUE.");
    const OpenCamera open(device(parser));
    const ControlWriter writer(open.camera());
    const QVector<ControlWrite> writes = writer.plan(parser.positionalArguments());
    writer.applyAll(writes);
    if (json(parser)) {
        QStringList written;
        for (const ControlWrite& write : writes)
            written << write.text();
        output.printJson(QJsonArray::fromStringList(written));
    } else {
        for (const ControlWrite& write : writes)
            output.out() << write.text() << '\n';
    }
    return 0;
}
