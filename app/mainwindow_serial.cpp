// The camera's serial console on /dev/ttyACM0.
#include "mainwindow.h"

#include "ui_mainwindow.h"

#include <imageacquisition/imageacquisition.h>

#include <QMessageBox>
#include <QProcess>

#include <poll.h>

namespace {

const char* const kSerialDevice = "/dev/ttyACM0";
constexpr int kFuserTimeoutMs = 30000;

bool lineHungUp(QSerialPort* port)
{
    pollfd p{port->handle(), POLLIN, 0};
    return p.fd >= 0 && ::poll(&p, 1, 0) == 1 && (p.revents & POLLHUP);
}

} // namespace

void MainWindow::scheduledSerialOpen()
{
    // Within the half second another camera may have been selected, or this
    // one unplugged: only one of the maker's cameras, still open, is linked.
    const ImageAcquisition::IDevice* device = camera ? camera->getDevice() : nullptr;
    if (device && device->isKelvaneDevice())
        openSerialPort();
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

    // Two selections within the half second schedule two openings. When
    // fuser cannot tell that this program already holds the line, the port of
    // the first is released here, or it would stay open, ownerless, holding
    // the line's lock against every later opening.
    closeSerialPort();
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
    if (erringPort || !serialPort)
        return;
    QString reason;
    if (error == QSerialPort::ResourceError) {
        reason = serialPort->errorString();
    } else if (error == QSerialPort::ReadError && lineHungUp(serialPort)) {
        // A line that is hung up (the USB device went away, or the far end of a
        // pseudo-terminal closed) reads end-of-file for ever, which the port
        // reports as a read error with a stale errno, again and again. It has
        // gone as surely as with a resource error; close it first so that it
        // stops reporting while the box is open.
        reason = tr("The serial line has hung up: the device disappeared from the system.");
        serialPort->close();
    } else {
        return;
    }
    erringPort = serialPort;
    QMessageBox::critical(this, tr("Critical Error"), reason, QMessageBox::Ok, QMessageBox::NoButton);
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
