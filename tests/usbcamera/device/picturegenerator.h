#pragma once

#include "picturesettings.h"
#include "videoformats.h"

#include <turbojpeg.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace UsbCamera {

// The sensor: colour bars over a grey ramp, a marker that sweeps across
// every 4 seconds and the frame number as a row of binary blocks, so that
// every frame differs from the last. Drawn in YUV 4:2:2, which is both what
// YUYV carries and what the JPEG encoder takes without conversion.
//
// The scene as the controls show it is made again only when a control
// changed; a frame is a copy of it with the overlay drawn in, which touches
// the luma only, so the emulated CPU of the test machine keeps up.
class PictureGenerator
{
public:
    PictureGenerator();
    ~PictureGenerator();

    PictureGenerator(const PictureGenerator&) = delete;
    PictureGenerator& operator=(const PictureGenerator&) = delete;

    // The frame's bytes as the format carries them; false when the JPEG
    // encoder failed.
    bool render(Encoding encoding, const FrameSize& size, std::uint64_t number, double seconds,
                const PictureSettings& settings, std::vector<std::uint8_t>& out);

private:
    void prepare(const FrameSize& size, const PictureSettings& settings);
    void drawScene();
    void applySettings(const PictureSettings& settings);
    // Draws into luma samples pixelStep bytes apart.
    void drawOverlay(std::uint8_t* luma, int pixelStep, std::uint64_t number, double seconds) const;

    tjhandle m_encoder;
    FrameSize m_size{0, 0};
    std::optional<PictureSettings> m_settings;
    // The scene as the sensor sees it, as the controls show it (planar and
    // packed), and the luma of the frame being made.
    std::vector<std::uint8_t> m_sceneY, m_sceneU, m_sceneV;
    std::vector<std::uint8_t> m_y, m_u, m_v, m_packed;
    std::vector<std::uint8_t> m_frameY;
};

} // namespace UsbCamera
