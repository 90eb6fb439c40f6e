#include "mainwindow.h"

#include "camerainfodialog.h"
#include "settingsdialog.h"
#include "ui_mainwindow.h"

#include <imageacquisition/imageacquisition.h>

#include <QCloseEvent>
#include <QComboBox>
#include <QSizePolicy>
#include <QTimer>

using namespace ImageAcquisition;

namespace {
constexpr int kRateWindowSize = 90;
}

MainWindow::MainWindow(QWidget* parent)
    : QMainWindow(parent),
      ui(new Ui_MainWindow),
      streaming(false),
      camera(nullptr),
      monitor(nullptr),
      deviceCombo(nullptr),
      formatCombo(nullptr),
      resolutionCombo(nullptr),
      intervalCombo(nullptr),
      refreshTimer(nullptr),
      defaultImage(nullptr),
      monitorClient(nullptr),
      frameTimeStamps(kRateWindowSize, IFrame::TimeStamp{0, 0}),
      fps(0.0),
      frameCount(0),
      imageWidth(0),
      imageHeight(0),
      bytesPerLine(0),
      snapshotRequested(false),
      serialPort(nullptr),
      cameraGeneration(0),
      erringPort(nullptr)
{
    ui->setupUi(this);

    // Events arrive on a thread of the camera layer and are queued to this
    // one, which needs the argument type known before the first event.
    qRegisterMetaType<ImageAcquisition::ICameraEvent*>("ImageAcquisition::ICameraEvent*");

    monitorClient = new MonitorClient(*this);
    monitor = ICameraFactory::getUniqueInstance()->createContinuousCameraMonitor();
    monitor->start(monitorClient);

    refreshTimer = new QTimer(this);

    deviceCombo = new QComboBox(this);
    formatCombo = new QComboBox(this);
    resolutionCombo = new QComboBox(this);
    intervalCombo = new QComboBox(this);
    deviceCombo->setMinimumWidth(110);
    resolutionCombo->setMinimumWidth(110);
    formatCombo->setMaximumWidth(120);
    for (QComboBox* combo : {deviceCombo, formatCombo, resolutionCombo, intervalCombo})
        combo->setMinimumHeight(32);

    ui->mainToolBar->insertWidget(ui->actionInfo, deviceCombo);
    ui->mainToolBar->insertWidget(ui->actionQuit, formatCombo);
    ui->mainToolBar->insertWidget(ui->actionQuit, resolutionCombo);
    ui->mainToolBar->insertWidget(ui->actionQuit, intervalCombo);
    auto* spacer = new QWidget(this);
    spacer->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    ui->mainToolBar->insertWidget(ui->actionQuit, spacer);

    ui->actionSnapshot->setEnabled(false);
    updateCameraActions();

    updateDeviceComboBox();

    connect(deviceCombo, SIGNAL(currentIndexChanged(int)), this, SLOT(cameraSelectionChanged(int)));
    connect(formatCombo, SIGNAL(currentIndexChanged(int)), this, SLOT(formatChanged(int)));
    connect(resolutionCombo, SIGNAL(currentIndexChanged(int)), this, SLOT(resolutionChanged(int)));
    connect(intervalCombo, SIGNAL(currentIndexChanged(int)), this, SLOT(intervalChanged(int)));
    connect(ui->actionSettings, SIGNAL(triggered(bool)), this, SLOT(settingsButtonClicked()));
    connect(ui->actionInfo, SIGNAL(triggered(bool)), this, SLOT(infoButtonClicked()));
    connect(ui->actionStart, SIGNAL(triggered(bool)), this, SLOT(startButtonClicked()));
    connect(ui->actionQuit, SIGNAL(triggered(bool)), this, SLOT(close()));
    connect(ui->actionSnapshot, SIGNAL(triggered(bool)), this, SLOT(saveSnapShot()));
    connect(ui->actionReset, SIGNAL(triggered(bool)), this, SLOT(resetCameraSlot()));
    connect(ui->clearButton, SIGNAL(clicked(bool)), this, SLOT(clearConsole()));
    connect(refreshTimer, SIGNAL(timeout()), this, SLOT(refreshSlot()));
    connect(this, SIGNAL(cameraEvent(ImageAcquisition::ICameraEvent*)), this,
            SLOT(cameraEventSlot(ImageAcquisition::ICameraEvent*)));

    ui->statusLabel->setText("Tarvello Center");
    setWindowTitle("Tarvello Center");
}

MainWindow::~MainWindow()
{
    // Normally closeEvent has stopped the monitor already; a window destroyed
    // without being closed must not leave it reporting to a deleted client.
    monitor->stop();
    delete ui;
    delete monitorClient;
    delete monitor;
    delete camera;
    // Still there only when the stream could not be stopped on closing.
    destroyDefaultImage();
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    monitor->stop();
    if (streaming)
        streaming = !stopCamera();
    event->accept();
}

void MainWindow::replaceCamera(IStreamingCamera* successor)
{
    IStreamingCamera* previous = camera;
    camera = successor;
    ++cameraGeneration;
    delete previous;
    updateCameraActions();
}

void MainWindow::updateCameraActions()
{
    // Both dialogs describe the open camera; with none open there is nothing to show.
    const bool open = camera != nullptr;
    ui->actionSettings->setEnabled(open);
    ui->actionInfo->setEnabled(open);
}

void MainWindow::clearConsole()
{
    ui->console->clear();
}

void MainWindow::settingsButtonClicked()
{
    if (!camera)
        return;
    CameraUI::SettingsDialog dialog(camera, this);
    connect(this, SIGNAL(cameraAddedOrRemoved()), &dialog, SLOT(close()));
    connect(this, SIGNAL(newImage(QImage)), &dialog, SLOT(updateBackground(QImage)));
    dialog.exec();
}

void MainWindow::infoButtonClicked()
{
    if (!camera)
        return;
    CameraUI::CameraInfoDialog dialog(camera->getDevice(), this);
    connect(this, SIGNAL(cameraAddedOrRemoved()), &dialog, SLOT(close()));
    dialog.exec();
}
