#pragma once

#include <QJsonValue>
#include <QString>
#include <QTextStream>

#include <cstdio>

// Where a command writes: results to out, messages to err. The program
// writes to its standard streams; tests give strings.
class CommandOutput
{
public:
    CommandOutput() : m_out(stdout), m_err(stderr) {}
    CommandOutput(QString* out, QString* err) : m_out(out), m_err(err) {}

    QTextStream& out() { return m_out; }
    QTextStream& err() { return m_err; }
    void printJson(const QJsonValue& value);

private:
    QTextStream m_out;
    QTextStream m_err;
};
