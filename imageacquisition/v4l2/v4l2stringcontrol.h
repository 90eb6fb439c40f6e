#pragma once

#include "v4l2control.h"

#include <imageacquisition/icameracontrolstring.h>

#include <string>

namespace ImageAcquisition {

class V4l2StringControl : public V4l2Control, public ICameraControlString
{
public:
    using V4l2Control::V4l2Control;

    int getLength() const override { return static_cast<int>(m_text.size()); }
    void getValue(char* buffer, int size) const override;
    void setValue(const char* value) override;
    int getMinLength() const override { return static_cast<int>(query().minimum); }
    int getMaxLength() const override { return static_cast<int>(query().maximum); }
    // The kernel's default for a text is its minimum length in blanks.
    bool restoreDefault() override;

protected:
    int readValue() override;

private:
    int write(const std::string& text);

    std::string m_text;
};

} // namespace ImageAcquisition
