#pragma once

namespace ImageAcquisition {

// A 5 x 7 dot font for printable ASCII, drawn for the camera's overlay.
class Font5x7
{
public:
    static constexpr int kWidth = 5;
    static constexpr int kHeight = 7;
    static constexpr int kAdvance = 6; // one blank column between characters

    // Seven rows, top first; bit 4 is the leftmost dot. Characters outside
    // printable ASCII show as '?'.
    static const unsigned char* glyph(char c);
    static int textWidth(int characters, int scale) { return characters > 0 ? (characters * kAdvance - 1) * scale : 0; }
};

} // namespace ImageAcquisition
