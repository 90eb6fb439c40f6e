#include <imageacquisition/imageacquisition.h>

#include <QtTest>

#include <memory>

using namespace ImageAcquisition;

namespace {
class CountingClient : public IContinuousCameraMonitor::IClient
{
public:
    void onCameraEvent(ICameraEvent* ev) override
    {
        ++events;
        delete ev;
    }
    int events = 0;
};
} // namespace

class TestCameraLayer : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("IMAGEACQUISITION_VIRTUAL_CAMERAS", "0"); }

    void factoryIsOneObject()
    {
        ICameraFactory* factory = ICameraFactory::getUniqueInstance();
        QVERIFY(factory);
        QCOMPARE(ICameraFactory::getUniqueInstance(), factory);
    }

    void deviceListIsASnapshotOwnedByTheCaller()
    {
        std::unique_ptr<IDeviceList> list(ICameraFactory::getUniqueInstance()->getDeviceList());
        QVERIFY(list);
        QVERIFY(list->getDeviceCount() >= 0);
        QVERIFY(!list->getDevice(-1));
        QVERIFY(!list->getDevice(list->getDeviceCount()));
    }

    void foreignDeviceIsNotOpened()
    {
        QVERIFY(!ICameraFactory::getUniqueInstance()->createCamera(nullptr));
    }

    void monitorStartsAndStopsCleanly()
    {
        CountingClient client;
        std::unique_ptr<IContinuousCameraMonitor> monitor(
            ICameraFactory::getUniqueInstance()->createContinuousCameraMonitor());
        QVERIFY(monitor);
        monitor->start(&client);
        monitor->stop();
        monitor->stop();
        QCOMPARE(client.events, 0);
    }

    void monitorDeletedWhileRunningStops()
    {
        CountingClient client;
        auto* monitor = ICameraFactory::getUniqueInstance()->createContinuousCameraMonitor();
        monitor->start(&client);
        delete monitor;
    }
};

QTEST_APPLESS_MAIN(TestCameraLayer)
#include "test_cameralayer.moc"
