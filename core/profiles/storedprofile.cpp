#include "storedprofile.h"

#include "badinput.h"
#include "cameraentry.h"
#include "ctlerror.h"
#include "profile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QSaveFile>
#include <QStandardPaths>

namespace Tarvello {

namespace {

const char* const kSystemFolder = "/etc/tarvello/cameras";
const char* const kSystemFolderVariable = "TARVELLO_SYSTEM_PROFILE_DIR";

} // namespace

QString StoredProfile::folder(Scope scope)
{
    if (scope == Scope::System) {
        const QString chosen = qEnvironmentVariable(kSystemFolderVariable);
        return chosen.isEmpty() ? QString(kSystemFolder) : chosen;
    }
    // $XDG_CONFIG_HOME, else ~/.config.
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + "/tarvello/cameras";
}

StoredProfile::StoredProfile(const CameraEntry& camera, Scope scope) : m_camera(camera)
{
    // The serial number becomes a file name: nothing that could leave the
    // folder or hide the file.
    static const QRegularExpression usable("^[A-Za-z0-9][A-Za-z0-9._:+-]*$");
    if (!usable.match(camera.serial).hasMatch())
        throw BadInput(camera.serial.isEmpty()
                           ? QString("%1 has no serial number to keep its settings by.").arg(camera.name)
                           : QString("The serial number '%1' of %2 cannot name a file.").arg(camera.serial, camera.name));
    m_path = folder(scope) + "/" + camera.serial + ".json";
}

bool StoredProfile::exists() const
{
    return QFile::exists(m_path);
}

std::optional<QByteArray> StoredProfile::read() const
{
    QFile file(m_path);
    if (!file.exists())
        return std::nullopt;
    if (!file.open(QIODevice::ReadOnly))
        throw CtlError(QString("Cannot read the stored profile %1: %2.").arg(m_path, file.errorString()),
                       CtlError::kFailed);
    return file.readAll();
}

int StoredProfile::store(ImageAcquisition::ICamera& camera) const
{
    const QJsonObject profile = Profile::save(camera, m_camera);
    const QByteArray json = QJsonDocument(profile).toJson(QJsonDocument::Indented);
    if (!QDir().mkpath(QFileInfo(m_path).path()))
        throw CtlError(QString("Cannot make the folder %1.").arg(QFileInfo(m_path).path()), CtlError::kFailed);
    // Whole or not at all: a half-written profile would be applied at the next plug.
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly) || file.write(json) != json.size() || !file.commit())
        throw CtlError(QString("Cannot write %1: %2.").arg(m_path, file.errorString()), CtlError::kFailed);
    return profile.value("controls").toArray().size();
}

bool StoredProfile::forget() const
{
    QFile file(m_path);
    if (!file.exists())
        return false;
    if (!file.remove())
        throw CtlError(QString("Cannot remove %1: %2.").arg(m_path, file.errorString()), CtlError::kFailed);
    return true;
}

std::optional<WriteOutcome> StoredProfile::apply(ImageAcquisition::ICamera& camera, ProfilePlan* plan) const
{
    const std::optional<QByteArray> text = read();
    if (!text)
        return std::nullopt;
    ProfilePlan checked;
    try {
        checked = Profile::check(camera, m_camera, *text);
    } catch (const CtlError& error) {
        // Say which file is wrong: the user did not name it this time.
        if (error.exitCode() == CtlError::kBadInput)
            throw BadInput(QString("The stored profile %1: %2").arg(m_path, error.message()));
        throw;
    }
    const WriteOutcome outcome = Profile::apply(camera, checked);
    if (plan)
        *plan = checked;
    return outcome;
}

} // namespace Tarvello
