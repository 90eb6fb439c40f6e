#pragma once

#include "command.h"
#include "doctorfinding.h"
#include "nodeaccess.h"

#include <QVector>

// tarvello-ctl doctor: why a camera is missing or cannot be used.
class DoctorCommand : public Command
{
public:
    QString name() const override;
    QString summary() const override;
    void setUp(QCommandLineParser& parser) const override;
    int run(const QCommandLineParser& parser, CommandOutput& output) override;

private:
    void checkVideoNode(const QString& path, const NodeAccess::User& user, bool real);
    void checkSerialLines(const QString& devRoot, const NodeAccess::User& user, bool real);
    // owner: the camera the line belongs to, when the layer says so.
    void checkSerialLine(const QString& line, const QString& owner, const NodeAccess::User& user);
    void checkUdevRule(const QStringList& ruleDirs);
    // The cameras on each USB bus and what streams there.
    void checkBuses();
    void checkAccess(const QString& path, const NodeAccess::User& user, const QString& what, bool* allowed);
    void add(DoctorFinding::Level level, const QString& subject, const QString& text, const QString& advice = QString());

    QVector<DoctorFinding> m_findings;
};
