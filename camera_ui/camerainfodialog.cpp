#include "camerainfodialog.h"

#include "ui_camerainfodialog.h"

#include <imageacquisition/idevice.h>

#include <QStringList>
#include <QTableWidgetItem>

using ImageAcquisition::IDevice;

namespace CameraUI {

namespace {

// One table row: its label and the device operation that fills it, either a
// text or a flag.
struct Property
{
    const char* label;
    const char* (IDevice::*text)() const;
    bool (IDevice::*flag)() const;
};

const Property kProperties[] = {
    {"Name", &IDevice::getName, nullptr},
    {"System Name", &IDevice::getSystemName, nullptr},
    {"Driver", &IDevice::getDriver, nullptr},
    {"Driver Version", &IDevice::getDriverVersion, nullptr},
    {"Bus Info", &IDevice::getBusInfo, nullptr},
    {"Vendor Id", &IDevice::getVendorId, nullptr},
    {"Product Id", &IDevice::getProductId, nullptr},
    {"Manufacturer", &IDevice::getManufacturer, nullptr},
    {"Serial", &IDevice::getSerial, nullptr},
    {"Supports Asynch IO", nullptr, &IDevice::supportsAsynchIO},
    {"Supports Multiplane", nullptr, &IDevice::supportsMultiplane},
    {"Supports Read/Write", nullptr, &IDevice::supportsReadWrite},
    {"Supports Streaming", nullptr, &IDevice::supportsStreaming},
    {"Supports Video Capture", nullptr, &IDevice::supportsVideoCapture},
    {"Is a Kelvane Device", nullptr, &IDevice::isKelvaneDevice},
    {"Firmware Version", &IDevice::getFirmwareVersion, nullptr},
};

} // namespace

CameraInfoDialog::CameraInfoDialog(IDevice const* device, QWidget* parent)
    : QDialog(parent), ui(new Ui_CameraInfoDialog)
{
    ui->setupUi(this);
    updateTableViewInfo(device);
}

CameraInfoDialog::~CameraInfoDialog()
{
    delete ui;
}

void CameraInfoDialog::updateTableViewInfo(IDevice const* device)
{
    ui->tableWidget->setHorizontalHeaderLabels(QStringList{"Property", "Value"});
    int row = 0;
    for (const Property& property : kProperties) {
        // Without a device the labels still show, with empty values.
        if (!device)
            setRow(row, property.label, QString());
        else if (property.text)
            setRow(row, property.label, (device->*property.text)());
        else
            setRow(row, property.label, (device->*property.flag)());
        ++row;
    }
}

void CameraInfoDialog::setRow(int row, QString label, QString value)
{
    auto* labelItem = new QTableWidgetItem(label);
    auto* valueItem = new QTableWidgetItem(value);
    ui->tableWidget->setItem(row, 0, labelItem);
    ui->tableWidget->setItem(row, 1, valueItem);
    labelItem->setFlags(labelItem->flags() ^ Qt::ItemIsEditable);
    valueItem->setFlags(valueItem->flags() ^ Qt::ItemIsEditable);
}

void CameraInfoDialog::setRow(int row, QString label, bool value)
{
    setRow(row, label, QString(value ? "True" : "False"));
}

void CameraInfoDialog::setRow(int row, QString label, char const* value)
{
    setRow(row, label, QString::fromUtf8(value));
}

} // namespace CameraUI
