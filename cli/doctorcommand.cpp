#include "doctorcommand.h"

#include "commandoutput.h"
#include "filedescriptor.h"
#include "processholders.h"

#include <badinput.h>
#include <busadvice.h>
#include <layertext.h>
#include <cameraselector.h>

#include <imageacquisition/imageacquisition.h>
#include <imageacquisition/usbbandwidth.h>

#include <QCollator>
#include <QMap>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>

#include <fcntl.h>
#include <linux/videodev2.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <cstring>

using namespace Tarvello;

namespace {

const char* const kRuleFile = "70-tarvello-center.rules";
const char* const kDefaultRuleDirs = "/etc/udev/rules.d:/run/udev/rules.d:/usr/lib/udev/rules.d:/lib/udev/rules.d";

QStringList nodes(const QString& devRoot, const QString& pattern)
{
    QStringList names = QDir(devRoot).entryList({pattern}, QDir::Files | QDir::System);
    QCollator collator;
    collator.setNumericMode(true);
    std::sort(names.begin(), names.end(), collator);
    QStringList paths;
    for (const QString& name : names)
        paths << QDir(devRoot).filePath(name);
    return paths;
}

bool isCharacterDevice(const QString& path)
{
    struct stat info{};
    return ::stat(path.toLocal8Bit().constData(), &info) == 0 && S_ISCHR(info.st_mode);
}

QString setting(const QCommandLineParser& parser, const char* option, const char* variable, const QString& fallback)
{
    if (parser.isSet(option))
        return parser.value(option);
    const QString fromEnvironment = qEnvironmentVariable(variable);
    return fromEnvironment.isEmpty() ? fallback : fromEnvironment;
}

} // namespace

QString DoctorCommand::name() const { return "doctor"; }
QString DoctorCommand::summary() const
{
    return "Explain why a camera is missing or cannot be used: video nodes that cannot be opened (permission, "
           "busy, not a capture node), the udev rule, and the maker's serial line. One line per finding, with "
           "what to do. Exit status 1 when a problem was found.";
}

void DoctorCommand::setUp(QCommandLineParser& parser) const
{
    parser.addOption({"dev-root", "Where the device nodes are (default /dev, or $TARVELLO_DEV_ROOT).", "dir"});
    parser.addOption({"udev-rules-dirs",
                      QString("Colon-separated folders searched for %1 (default %2, or $TARVELLO_UDEV_RULES_DIRS).")
                          .arg(kRuleFile, kDefaultRuleDirs),
                      "dirs"});
    parser.addOption({"user", "Check access for this user instead of the one running the check.", "name"});
}

int DoctorCommand::run(const QCommandLineParser& parser, CommandOutput& output)
{
    m_findings.clear();
    NodeAccess::User user;
    if (parser.isSet("user") ? !NodeAccess::namedUser(parser.value("user"), &user) : !NodeAccess::currentUser(&user))
        throw BadInput(QString("There is no user '%1'.").arg(parser.value("user")));
    const QString devRoot = setting(parser, "dev-root", "TARVELLO_DEV_ROOT", "/dev");
    const QStringList ruleDirs =
        setting(parser, "udev-rules-dirs", "TARVELLO_UDEV_RULES_DIRS", kDefaultRuleDirs).split(':', Qt::SkipEmptyParts);
    // Probing only makes sense on the system's own nodes; a tree given for
    // a test holds stand-ins.
    const bool real = QFileInfo(devRoot).canonicalFilePath() == "/dev";

    if (!QFileInfo(devRoot).isDir())
        throw BadInput(QString("%1 is not a folder.").arg(devRoot));
    if (real) {
        const int count = CameraSelector::presentCameras().size();
        if (count > 0)
            add(DoctorFinding::Ok, "camera layer", QString("lists %1 camera%2").arg(count).arg(count == 1 ? "" : "s"));
        else
            add(DoctorFinding::Problem, "camera layer", "lists no camera", "See the findings below");
    }
    const QStringList videoNodes = nodes(devRoot, "video*");
    if (videoNodes.isEmpty())
        add(DoctorFinding::Problem, devRoot, "has no video nodes (video*)",
            "Plug the camera in (another USB port or cable if it still does not appear) and look at 'lsusb' and "
            "'sudo dmesg | tail' for the uvcvideo driver");
    for (const QString& node : videoNodes)
        checkVideoNode(node, user, real);
    checkSerialLines(devRoot, user, real);
    if (real)
        checkBuses();
    checkUdevRule(ruleDirs);

    bool problem = false;
    QJsonArray list;
    for (const DoctorFinding& finding : m_findings) {
        problem = problem || finding.level == DoctorFinding::Problem;
        list.append(finding.toJson());
        if (!json(parser))
            output.out() << finding.line() << '\n';
    }
    if (json(parser))
        output.printJson(list);
    return problem ? 1 : 0;
}

void DoctorCommand::checkAccess(const QString& path, const NodeAccess::User& user, const QString& what, bool* allowed)
{
    QString group;
    bool groupGrants = false;
    const QString denial = NodeAccess::denial(path, user, &group, &groupGrants);
    *allowed = denial.isEmpty();
    if (*allowed)
        return;
    QString advice = QString("Install the udev rule (see its line) so that the user at the seat gets %1").arg(what);
    if (groupGrants)
        advice += QString(", or add the user to the group: sudo usermod -aG %1 %2, then log out and in again")
                      .arg(group, user.name);
    else
        advice += ", or give the node's group access (sudo chmod g+rw " + path + ") and join that group";
    add(DoctorFinding::Problem, path, QString("cannot be opened by %1: it %2").arg(user.name, denial), advice);
}

void DoctorCommand::checkVideoNode(const QString& path, const NodeAccess::User& user, bool real)
{
    bool allowed = false;
    checkAccess(path, user, "the camera", &allowed);
    if (!allowed)
        return;
    if (!isCharacterDevice(path)) {
        add(DoctorFinding::Note, path, "is not a character device", "Nothing to do unless it should be a camera");
        return;
    }
    const QStringList holders = ProcessHolders::of(path);
    if (real) {
        // What the node is comes first: a camera's metadata node, say, held
        // by some program keeps no camera busy.
        const FileDescriptor fd(::open(path.toLocal8Bit().constData(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
        if (!fd.isValid()) {
            const int error = errno;
            if (error == EBUSY)
                add(DoctorFinding::Problem, path,
                    "is busy" + (holders.isEmpty() ? QString() : " (" + holders.join(", ") + ")"),
                    "Close the program that uses the camera");
            else
                add(DoctorFinding::Problem, path,
                    QString("cannot be opened: %1").arg(QString::fromLocal8Bit(std::strerror(error))),
                    error == EACCES ? "An ACL or security module denies it; install the udev rule" : "Replug the camera");
            return;
        }
        v4l2_capability capability{};
        if (::ioctl(fd.get(), VIDIOC_QUERYCAP, &capability) < 0) {
            add(DoctorFinding::Note, path, "is not a video4linux device", "Nothing to do");
            return;
        }
        const quint32 caps =
            (capability.capabilities & V4L2_CAP_DEVICE_CAPS) ? capability.device_caps : capability.capabilities;
        const QString card = QString::fromUtf8(reinterpret_cast<const char*>(capability.card));
        if (!(caps & V4L2_CAP_VIDEO_CAPTURE) || !(caps & V4L2_CAP_STREAMING)) {
            add(DoctorFinding::Note, path, QString("(%1) is not a capture node (metadata, output or multi-planar)").arg(card),
                "Nothing to do: cameras list their capture node only");
            return;
        }
        add(DoctorFinding::Ok, path, QString("(%1) is a capture node that %2 can open").arg(card, user.name));
    }
    if (!holders.isEmpty())
        add(DoctorFinding::Note, path, "is open in " + holders.join(", "),
            "While that program streams, the camera is busy for every other one; close it first");
}

void DoctorCommand::checkSerialLine(const QString& line, const QString& owner, const NodeAccess::User& user)
{
    bool allowed = false;
    checkAccess(line, user, "the serial line", &allowed);
    if (!allowed)
        return;
    const QStringList holders = ProcessHolders::of(line);
    const QString whose = owner.isEmpty() ? QString() : QString("(the serial line of %1) ").arg(owner);
    if (holders.isEmpty())
        add(DoctorFinding::Ok, line, whose + "is free and " + user.name + " may open it");
    else
        add(DoctorFinding::Problem, line, whose + "is held by " + holders.join(", "),
            "The window's console and 'tarvello-ctl serial' cannot open it while that runs; close it");
}

void DoctorCommand::checkSerialLines(const QString& devRoot, const NodeAccess::User& user, bool real)
{
    QStringList lines = nodes(devRoot, "ttyACM*");
    bool cameraLines = false;
    if (real) {
        // Each of the maker's cameras brings its own line; the window opens
        // /dev/ttyACM0 whichever camera that belongs to.
        const QVector<CameraEntry> cameras = CameraSelector::presentCameras();
        for (const CameraEntry& camera : cameras) {
            if (!camera.serialLine.isEmpty()) {
                checkSerialLine(camera.serialLine, camera.name, user);
                lines.removeAll(camera.serialLine);
                cameraLines = true;
            } else if (camera.kelvane) {
                add(DoctorFinding::Problem, camera.node, QString("(%1) has no serial line").arg(camera.name),
                    "Load the cdc_acm driver (sudo modprobe cdc_acm) or replug the camera; the console stays empty");
            }
        }
        if (!cameras.isEmpty()) {
            const CameraEntry& first = cameras.at(CameraSelector(cameras).select(QString()));
            if (first.kelvane && !first.serialLine.isEmpty() && first.serialLine != "/dev/ttyACM0")
                add(DoctorFinding::Note, "/dev/ttyACM0",
                    QString("is not the serial line of %1, the camera the window opens first (its line is %2)")
                        .arg(first.name, first.serialLine),
                    "The window's console shows /dev/ttyACM0; use 'tarvello-ctl serial' for the other lines");
        }
    }
    if (lines.isEmpty() && !cameraLines) {
        add(DoctorFinding::Note, devRoot + "/ttyACM*", "does not exist: no USB serial line",
            "The maker's camera is not plugged in or the cdc_acm driver is not loaded; the console stays empty");
        return;
    }
    for (const QString& line : lines)
        checkSerialLine(line, QString(), user);
}

void DoctorCommand::checkBuses()
{
    struct BusCameras
    {
        QString name;
        long long capacity = 0;
        QStringList cameras;
        QMap<QString, QString> streams; // by node, what each streams
    };
    QVector<BusCameras> buses;
    const std::unique_ptr<ImageAcquisition::IDeviceList> list(
        ImageAcquisition::ICameraFactory::getUniqueInstance()->getDeviceList());
    for (int i = 0; list && i < list->getDeviceCount(); ++i) {
        const ImageAcquisition::IDevice* device = list->getDevice(i);
        const ImageAcquisition::UsbBandwidth::Bus bus = device ? ImageAcquisition::UsbBandwidth::busOf(*device)
                                                               : ImageAcquisition::UsbBandwidth::Bus{};
        if (bus.name.empty())
            continue;
        const QString name = QString::fromStdString(bus.name);
        auto found = std::find_if(buses.begin(), buses.end(), [&](const BusCameras& b) { return b.name == name; });
        if (found == buses.end()) {
            buses.append({name, bus.capacity, {}, {}});
            found = buses.end() - 1;
        }
        found->cameras << QString("%1 (%2)").arg(layerText(device->getName()), layerText(device->getSystemName()));
        // Each camera sees the streams of the others; together, all of them.
        for (const auto& stream : bus.streams)
            found->streams[QString::fromStdString(stream.node)] =
                QString("%1 streams %2 (%3)")
                    .arg(QString::fromStdString(stream.name), QString::fromStdString(stream.format),
                         BusAdvice::rateText(stream.bytesPerSecond));
    }
    for (const BusCameras& bus : buses) {
        QString text = "carries " + bus.cameras.join(", ");
        if (!bus.streams.isEmpty())
            text += "; " + QStringList(bus.streams.values()).join("; ");
        if (bus.capacity > 0)
            text += QString("; streams may hold about %1 of it").arg(BusAdvice::rateText(bus.capacity));
        add(DoctorFinding::Note, bus.name, text,
            bus.cameras.size() > 1 ? "Cameras on one bus share its bandwidth; if a stream is refused (No space left "
                                     "on device), plug a camera into a port of another USB controller"
                                   : "Nothing to do");
    }
}

void DoctorCommand::checkUdevRule(const QStringList& ruleDirs)
{
    for (const QString& dir : ruleDirs) {
        const QString path = QDir(dir).filePath(kRuleFile);
        if (QFileInfo::exists(path)) {
            add(DoctorFinding::Ok, path, "is installed");
            return;
        }
    }
    add(DoctorFinding::Problem, kRuleFile, "is not installed in " + ruleDirs.join(", "),
        QString("Install the package, or copy the rule from the build (desktop/%1) to /etc/udev/rules.d/ and run: "
                "sudo udevadm control --reload && sudo udevadm trigger")
            .arg(kRuleFile));
}

void DoctorCommand::add(DoctorFinding::Level level, const QString& subject, const QString& text, const QString& advice)
{
    m_findings.append({level, subject, text, advice});
}
