#pragma once

#include "encoding.h"
#include "virtualresolution.h"

#include <imageacquisition/ipixelformat.h>

#include <memory>
#include <string>
#include <vector>

namespace ImageAcquisition {

class VirtualPixelFormat : public IPixelFormat
{
public:
    VirtualPixelFormat(std::string fourcc, std::string description, Encoding encoding, bool compressed,
                       bool emulated);

    bool isCompressed() const override { return m_compressed; }
    bool isEmulated() const override { return m_emulated; }
    const char* getFourCC() const override { return m_fourcc.c_str(); }
    const char* getDescription() const override { return m_description.c_str(); }
    int getResolutionCount() const override;
    IResolution* getResolution(int index) override;

    void addResolution(std::unique_ptr<VirtualResolution> resolution);
    VirtualResolution* resolution(int index);
    Encoding encoding() const { return m_encoding; }
    const std::string& fourcc() const { return m_fourcc; }

private:
    std::string m_fourcc;
    std::string m_description;
    Encoding m_encoding;
    bool m_compressed;
    bool m_emulated;
    std::vector<std::unique_ptr<VirtualResolution>> m_resolutions;
};

} // namespace ImageAcquisition
