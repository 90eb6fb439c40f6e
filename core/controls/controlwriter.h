#pragma once

#include "controlwrite.h"
#include "writeoutcome.h"

#include <QStringList>
#include <QVector>

namespace ImageAcquisition {
class ICamera;
}

namespace Tarvello {

// Validated writing of controls: every write of a batch is checked before
// the first one is made, and the batch is made in family order, each
// family's automatic modes (its booleans and menus) before the values they
// govern, so that a mode switched off in the same batch makes its values
// writable.
class ControlWriter
{
public:
    enum class OnRefusal { Stop, Continue };

    explicit ControlWriter(ImageAcquisition::ICamera& camera);

    // Checks "NAME=VALUE" (or a bare "NAME" for a button) against the
    // camera. Throws BadInput for unknown names, malformed or out-of-range
    // values and names given twice, Refused for controls that cannot be
    // written now (read-only, disabled, grabbed, inactive); the message
    // lists every problem, and nothing has been written.
    QVector<ControlWrite> plan(const QStringList& assignments) const;
    // The same for pairs already split, the value as text.
    QVector<ControlWrite> plan(const QVector<QPair<QString, QString>>& pairs) const;

    // Makes the writes in family order. A control's flags are read again
    // just before its write, since an earlier write may have changed them.
    WriteOutcome apply(QVector<ControlWrite> writes, OnRefusal onRefusal) const;
    // Stops at the first refusal and throws Refused naming the camera's
    // reason and what had been written by then.
    void applyAll(const QVector<ControlWrite>& writes) const;

    // Sorts writes into family order (stable otherwise).
    static void order(QVector<ControlWrite>& writes);
    // Why a control cannot be written now; empty when it can.
    static QString refusalOf(const ControlDescription& control);
    // Lets a planned write through when the inactive flag is its only
    // obstacle and the batch also writes a mode of the same family.
    static bool governedInBatch(const ControlWrite& write, const QVector<ControlWrite>& batch);
    // Writes one value now; returns the camera's reason when it refuses.
    static QString write(const ControlWrite& write);

private:
    ImageAcquisition::ICamera& m_camera;
};

} // namespace Tarvello
