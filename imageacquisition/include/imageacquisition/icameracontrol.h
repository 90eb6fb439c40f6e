#pragma once

namespace ImageAcquisition {

// One adjustable setting of an open camera. Controls belong to the camera
// that handed them out and stay valid as long as it is open.
//
// The queries answer from the state the layer holds; refresh() brings that
// state up to date with the camera. Writes that the camera or the layer
// refuses throw AssertFailureException.
class ICameraControl
{
public:
    // What getType() returns; each code names the interface the control
    // implements. Any other code is a kind without an interface of its own.
    enum Type
    {
        TypeUnknown = 0,
        TypeBoolean = 2,      // ICameraControlBoolean
        TypeButton = 3,       // ICameraControlButton
        TypeInteger = 4,      // ICameraControlNumeric<int>
        TypeInteger64 = 5,    // ICameraControlNumeric<long long>
        TypeIntegerMenu = 6,  // ICameraControlInt64Menu
        TypeBitmask = 7,
        TypeString = 10,      // ICameraControlString
        TypeMenu = 11,        // ICameraControlStringMenu
        TypeCompound = 12,
    };

    // A group of controls that depend on each other: writing one may change
    // the value or flags of the others. Only ever compared for equality.
    enum Family
    {
        FamilyNone = 0,
        FamilyUser,            // brightness, contrast, gain, white balance
        FamilyCamera,          // exposure, focus, zoom, pan and tilt
        FamilyImageSource,
        FamilyImageProcessing,
        FamilyCodec,
        FamilyKelvane,         // the maker's own controls
        FamilyOther,
    };

    virtual ~ICameraControl() = default;

    virtual int getType() const = 0;
    virtual Family getFamily() const = 0;
    virtual const char* getName() const = 0;
    virtual const char* getDescription() const = 0;
    virtual bool isDisabled() const = 0;
    virtual bool isGrabbed() const = 0;
    virtual bool isReadOnly() const = 0;
    virtual bool isInactive() const = 0;
    // Re-reads value and flags from the camera.
    virtual void refresh() = 0;
};

} // namespace ImageAcquisition
