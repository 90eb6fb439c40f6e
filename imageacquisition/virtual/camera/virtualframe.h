#pragma once

#include "framecontent.h"

#include <imageacquisition/iframe.h>

#include <vector>

namespace ImageAcquisition {

// One frame buffer. A default-made frame is empty: it carries no picture.
class VirtualFrame : public IFrame
{
public:
    VirtualFrame() = default;

    int getSize() const override { return m_size; }
    const unsigned char* getData() const override { return m_data.data(); }
    unsigned long long getFrameNumber() const override { return m_number; }
    TimeStamp getTimeStamp() const override { return m_stamp; }
    bool isEmpty() const override { return m_empty; }

    // Where the renderer writes; the frame is not handed out while it does.
    std::vector<unsigned char>& storage() { return m_data; }
    // What the storage holds, kept by the renderer.
    FrameContent& content() { return m_content; }
    void setContents(int size, unsigned long long number, TimeStamp stamp);

private:
    std::vector<unsigned char> m_data;
    FrameContent m_content;
    int m_size = 0;
    unsigned long long m_number = 0;
    TimeStamp m_stamp{0, 0};
    bool m_empty = true;
};

} // namespace ImageAcquisition
