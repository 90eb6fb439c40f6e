#pragma once

#include "canvas.h"
#include "cellprints.h"
#include "dirtygrid.h"
#include "encoding.h"
#include "framecontent.h"
#include "frameinfo.h"
#include "imagesettings.h"
#include "jpegencoder.h"
#include "rgbimage.h"
#include "tonecurve.h"

#include <vector>

namespace ImageAcquisition {

// Makes the frames of one camera. What does not move is made once and kept
// for each stage (scene, lit scene, scene in the frame's encoding) until a
// setting it depends on changes. A frame then costs its overlay, drawn again
// (and for MJPG compressed again) only in the cells where it draws
// something else than the picture it follows, on the kept background.
class FrameRenderer
{
public:
    FrameRenderer();

    // Writes one frame to the start of out (which grows as needed) and
    // returns its size in bytes; 0 when it could not be made. With content,
    // the description of what out holds from its last frame (kept with the
    // buffer), a raw frame puts the background back and draws again only
    // where its overlay differs from the one out holds.
    size_t render(Encoding encoding, int width, int height, const ImageSettings& settings, const FrameInfo& info,
                  std::vector<unsigned char>& out, FrameContent* content = nullptr);
    // Makes the kept stages ready, so that the next render costs only its
    // own frame (a stream start can afford the wait, a frame cannot).
    void prepare(Encoding encoding, int width, int height, const ImageSettings& settings);

private:
    struct SceneKey
    {
        int width = 0;
        int height = 0;
        int pattern = -1;
        int focusLevel = -1;
        bool operator==(const SceneKey& o) const
        {
            return width == o.width && height == o.height && pattern == o.pattern && focusLevel == o.focusLevel;
        }
    };

    void prepareScene(const SceneKey& key);
    void prepareLitScene(const ToneCurve::Parameters& tone);
    const std::vector<unsigned char>& background(Encoding encoding);
    // Draws the overlay with canvas into a picture that holds the background
    // (lineBytes a row) and, when follows, the overlay held notes; held then
    // notes this one. m_changedCells says where it was drawn again.
    void drawOverlay(Canvas& canvas, const ImageSettings& settings, const FrameInfo& info, CellPrints& held,
                     bool follows, int cellWidth, int cellHeight, const unsigned char* background, size_t lineBytes);
    size_t renderJpeg(int width, int height, const ImageSettings& settings, const FrameInfo& info,
                      std::vector<unsigned char>& out);

    SceneKey m_sceneKey;
    RgbImage m_scene;
    unsigned m_sceneVersion = 0;

    ToneCurve m_tone;
    RgbImage m_lit;
    unsigned m_litFromScene = ~0u;
    unsigned m_litVersion = 0;

    std::vector<unsigned char> m_converted;
    Encoding m_convertedEncoding = Encoding::Rgb24;
    unsigned m_convertedFromLit = ~0u;

    // The last MJPG picture: the lit scene it was made from, and what its
    // overlay drew in each cell. The next one draws and compresses again
    // only the cells where its overlay draws something else.
    RgbImage m_scratch;
    unsigned m_scratchFromLit = ~0u;
    CellPrints m_lastPrints;
    // What this frame's overlay draws, and where it differs from what the
    // picture (the MJPG scratch or a raw buffer) holds: scratch for each frame.
    CellPrints m_prints;
    DirtyGrid m_changedCells;
    JpegEncoder m_jpeg;
};

} // namespace ImageAcquisition
