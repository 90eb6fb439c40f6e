#pragma once

#include <imageacquisition/iframe.h>

#include <vector>

namespace ImageAcquisition {

// A frame of one driver buffer, or the empty frame (no buffer). The bytes
// stay in the mapped buffer until the buffer goes away while the frame is
// still handed out; then the frame keeps a copy of its own.
class V4l2Frame : public IFrame
{
public:
    // The empty frame.
    V4l2Frame() = default;
    explicit V4l2Frame(unsigned bufferIndex) : m_bufferIndex(bufferIndex), m_hasBuffer(true) {}

    int getSize() const override { return m_size; }
    const unsigned char* getData() const override { return m_data; }
    unsigned long long getFrameNumber() const override { return m_number; }
    TimeStamp getTimeStamp() const override { return m_timeStamp; }
    bool isEmpty() const override { return m_data == nullptr || m_size == 0; }

    void fill(const unsigned char* data, int size, unsigned long long number, TimeStamp timeStamp);
    void detach();

    unsigned bufferIndex() const { return m_bufferIndex; }
    bool hasBuffer() const { return m_hasBuffer; }
    // Handed out to the application and not yet given back.
    bool isOut() const { return m_out; }
    void setOut(bool out) { m_out = out; }

private:
    const unsigned char* m_data = nullptr;
    int m_size = 0;
    unsigned long long m_number = 0;
    TimeStamp m_timeStamp{0, 0};
    unsigned m_bufferIndex = 0;
    bool m_hasBuffer = false;
    bool m_out = false;
    std::vector<unsigned char> m_copy;
};

} // namespace ImageAcquisition
