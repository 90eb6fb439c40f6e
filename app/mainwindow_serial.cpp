// The camera's serial console on /dev/ttyACM0.
#include "mainwindow.h"

#include "ui_mainwindow.h"

#include <QMessageBox>
#include <QProcess>

namespace {
const char* const kSerialDevice = "/dev/ttyACM0";
constexpr int kFuserTimeoutMs = 30000;
}

void MainWindow::openSerialPort()
{
    // Another program (a terminal, a second instance) may hold the line;
    // fuser names the processes that have the device open.
    {
        QProcess fuser;
        fuser.start("./fuser", QStringList() << kSerialDevice, QIODevice::ReadWrite);
        fuser.waitForFinished(kFuserTimeoutMs);
        const QByteArray output = fuser.readAllStandardOutput();
        const int end = output.indexOf('\0');
        const QString holders = QString::fromUtf8(output.constData(), end < 0 ? output.size() : end);

        ui->console->putData(QByteArray("fuser ") + kSerialDevice + ": (");
        ui->console->putData(holders.toLocal8Bit());
        ui->console->putData(")\n");
        if (!holders.isEmpty())
            return;
    }

    serialPort = new QSerialPort(this);
    connect(serialPort, SIGNAL(readyRead()), this, SLOT(readSerialPortData()));
    connect(serialPort, SIGNAL(error(QSerialPort::SerialPortError)), this,
            SLOT(handleError(QSerialPort::SerialPortError)));
    serialPort->setPortName("ttyACM0");
    serialPort->setBaudRate(QSerialPort::Baud115200);
    serialPort->setDataBits(QSerialPort::Data8);
    serialPort->setParity(QSerialPort::NoParity);
    serialPort->setStopBits(QSerialPort::OneStop);
    serialPort->setFlowControl(QSerialPort::NoFlowControl);
    if (serialPort->open(QIODevice::ReadWrite)) {
        serialPort->write("\r", 1);
    } else {
        QMessageBox::critical(this, tr("Error"), serialPort->errorString(), QMessageBox::Ok,
                              QMessageBox::NoButton);
    }
}

void MainWindow::readSerialPortData()
{
    if (serialPort)
        ui->console->putData(serialPort->readAll());
}

void MainWindow::handleError(QSerialPort::SerialPortError error)
{
    // A vanished line keeps reporting while the box below is open; one box is enough.
    if (error != QSerialPort::ResourceError || erringPort || !serialPort)
        return;
    erringPort = serialPort;
    QMessageBox::critical(this, tr("Critical Error"), serialPort->errorString(), QMessageBox::Ok,
                          QMessageBox::NoButton);
    // While the box was open, another selection may already have closed this
    // port, or even opened a new one: only the port that failed is closed.
    if (serialPort == erringPort)
        closeSerialPort();
    // We are still inside the port's own error signal, and the port's code
    // runs on after it: the object may only go once control has left it.
    erringPort->deleteLater();
    erringPort = nullptr;
}

void MainWindow::closeSerialPort()
{
    if (!serialPort)
        return;
    disconnect(serialPort, SIGNAL(readyRead()), this, SLOT(readSerialPortData()));
    disconnect(serialPort, SIGNAL(error(QSerialPort::SerialPortError)), this,
               SLOT(handleError(QSerialPort::SerialPortError)));
    if (serialPort->isOpen())
        serialPort->close();
    // The port whose error is being reported is released by handleError.
    if (serialPort != erringPort)
        delete serialPort;
    serialPort = nullptr;
}
