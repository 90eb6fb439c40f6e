#pragma once

#include <imageacquisition/icontinuouscameramonitor.h>
#include <imageacquisition/iframe.h>

#include <QImage>
#include <QMainWindow>
#include <QSerialPort>
#include <QString>
#include <QVector>

#include <mutex>
#include <unordered_set>

class QCloseEvent;
class QComboBox;
class QTimer;
class Ui_MainWindow;

namespace ImageAcquisition {
class ICameraEvent;
class IStreamingCamera;
} // namespace ImageAcquisition

// The one object that holds the application's state: the open camera, the
// device monitor, the frame timer, the serial link and the stream parameters.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    // Receives the monitor's reports on a thread of the camera layer and
    // hands them to the window's thread as a queued signal.
    class MonitorClient : public virtual ImageAcquisition::IContinuousCameraMonitor::IClient
    {
    public:
        explicit MonitorClient(MainWindow& mainWindow);
        ~MonitorClient() override;
        void onCameraEvent(ImageAcquisition::ICameraEvent* ev) override;
        // The window has taken the event over.
        void delivered(ImageAcquisition::ICameraEvent* ev);

    private:
        MainWindow& mainWindow;
        // Events handed to the window's queue and not yet received. Should
        // the window go before they are, the queue drops them unseen, so they
        // are freed here instead.
        std::mutex inFlightMutex;
        std::unordered_set<ImageAcquisition::ICameraEvent*> inFlight;
    };

    explicit MainWindow(QWidget* parent = nullptr);
    ~MainWindow() override;

signals:
    void cameraEvent(ImageAcquisition::ICameraEvent* ev);
    void cameraAddedOrRemoved();
    void newImage(QImage);

protected slots:
    void updateDeviceComboBox();
    void updateFormatCombo();
    void updateResolutionCombo();
    void updateIntervalCombo();
    void cameraSelectionChanged(int);
    void settingsButtonClicked();
    void infoButtonClicked();
    void formatChanged(int);
    void resolutionChanged(int);
    void intervalChanged(int);
    void startButtonClicked();
    void refreshSlot();
    void cameraEventSlot(ImageAcquisition::ICameraEvent* ev);
    void saveSnapShot();
    void readSerialPortData();
    void handleError(QSerialPort::SerialPortError error);
    void openSerialPort();
    void closeSerialPort();
    void clearConsole();
    void resetCameraSlot();

private slots:
    void scheduledSerialOpen();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    bool startCamera();
    bool stopCamera();
    void signalCameraEvent(ImageAcquisition::ICameraEvent* ev);
    void setFormatToolTip(int index);
    void displayImage(QImage& image, unsigned long long frameNumber);
    void createDefaultImage();
    void clearDefaultImage();
    void destroyDefaultImage();
    bool holdsWholePicture(const ImageAcquisition::IFrame& frame) const;
    static QImage decodeCompressed(const ImageAcquisition::IFrame& frame);
    QImage placeholder();

    void replaceCamera(ImageAcquisition::IStreamingCamera* successor);
    void updateCameraActions();
    void takeSnapshot(const QImage& image);

    Ui_MainWindow* ui;
    bool streaming;
    ImageAcquisition::IStreamingCamera* camera;
    ImageAcquisition::IContinuousCameraMonitor* monitor;
    QComboBox* deviceCombo;
    QComboBox* formatCombo;
    QComboBox* resolutionCombo;
    QComboBox* intervalCombo;
    QTimer* refreshTimer;
    QImage* defaultImage;
    MonitorClient* monitorClient;
    QVector<ImageAcquisition::IFrame::TimeStamp> frameTimeStamps;
    double fps;
    unsigned long long frameCount;
    QString pixelFormat;
    int imageWidth;
    int imageHeight;
    int bytesPerLine;
    bool snapshotRequested;
    QSerialPort* serialPort;

    // Counts replacements of `camera`. A tick whose snapshot dialog ran a
    // nested event loop compares it before and after, so that a frame only
    // ever goes back to the camera it came from.
    unsigned long long cameraGeneration;
    // The port whose error is being reported; its deletion must wait until
    // control has left the port's own signal.
    QSerialPort* erringPort;
};
