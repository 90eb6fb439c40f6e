#include "formatcaps.h"

#include <layertext.h>

#include <imageacquisition/imageacquisition.h>

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

namespace Tarvello {

using namespace ImageAcquisition;

namespace {

struct Mapping
{
    const char* fourcc;
    const char* media;
    const char* format; // null: the media type alone
    int bytesPerPixel;  // 0: compressed
};

const Mapping kMappings[] = {
    {"RGB3", "video/x-raw", "RGB", 3},     {"BGR3", "video/x-raw", "BGR", 3},
    {"YUYV", "video/x-raw", "YUY2", 2},    {"GRBG", "video/x-bayer", "grbg", 1},
    {"GBRG", "video/x-bayer", "gbrg", 1},  {"RGGB", "video/x-bayer", "rggb", 1},
    {"BA81", "video/x-bayer", "bggr", 1},  {"MJPG", "image/jpeg", nullptr, 0},
    {"JPEG", "image/jpeg", nullptr, 0},
};

const Mapping* mappingOf(const QString& fourcc)
{
    for (const Mapping& mapping : kMappings) {
        if (fourcc == QLatin1String(mapping.fourcc))
            return &mapping;
    }
    return nullptr;
}

bool sameInterval(IFrameInterval* interval, int numerator, int denominator)
{
    return qlonglong(interval->getNumerator()) * denominator == qlonglong(numerator) * interval->getDenominator();
}

// The frame rates of a size, as a fraction or a list of them; the
// preferred interval first.
bool setRates(GstStructure* structure, IResolution& resolution, IFrameInterval* preferred)
{
    GValue list = G_VALUE_INIT;
    g_value_init(&list, GST_TYPE_LIST);
    std::vector<std::pair<int, int>> rates;
    for (int i = 0; i < resolution.getFrameIntervalCount(); ++i) {
        IFrameInterval* interval = resolution.getFrameInterval(i);
        if (!interval || interval->getNumerator() <= 0 || interval->getDenominator() <= 0)
            continue;
        const std::pair<int, int> rate{interval->getDenominator(), interval->getNumerator()};
        const bool first = preferred && sameInterval(interval, preferred->getNumerator(), preferred->getDenominator());
        if (std::find(rates.begin(), rates.end(), rate) != rates.end())
            continue;
        rates.insert(first ? rates.begin() : rates.end(), rate);
    }
    for (const auto& rate : rates) {
        GValue fraction = G_VALUE_INIT;
        g_value_init(&fraction, GST_TYPE_FRACTION);
        gst_value_set_fraction(&fraction, rate.first, rate.second);
        gst_value_list_append_and_take_value(&list, &fraction);
    }
    const bool any = !rates.empty();
    if (rates.size() == 1)
        gst_structure_set(structure, "framerate", GST_TYPE_FRACTION, rates[0].first, rates[0].second, nullptr);
    else if (any)
        gst_structure_set_value(structure, "framerate", &list);
    g_value_unset(&list);
    return any;
}

} // namespace

GstStructure* FormatCaps::structureOf(const QString& fourcc)
{
    const Mapping* mapping = mappingOf(fourcc);
    if (!mapping)
        return nullptr;
    GstStructure* structure = gst_structure_new_empty(mapping->media);
    if (mapping->format)
        gst_structure_set(structure, "format", G_TYPE_STRING, mapping->format, nullptr);
    return structure;
}

GstCaps* FormatCaps::of(ICamera& camera)
{
    GstCaps* caps = gst_caps_new_empty();
    const int currentFormat = camera.getCurrentFormatIndex();
    IPixelFormat* current = camera.getFormat(currentFormat);
    IResolution* currentSize = current ? current->getResolution(camera.getCurrentResolutionIndex()) : nullptr;
    IFrameInterval* currentInterval =
        currentSize ? currentSize->getFrameInterval(camera.getCurrentFrameIntervalIndex()) : nullptr;

    std::vector<int> formats;
    for (int i = 0; i < camera.getFormatCount(); ++i)
        formats.insert(i == currentFormat ? formats.begin() : formats.end(), i);
    for (int f : formats) {
        IPixelFormat* format = camera.getFormat(f);
        if (!format)
            continue;
        const QString fourcc = layerText(format->getFourCC());
        if (!mappingOf(fourcc))
            continue;
        std::vector<IResolution*> sizes;
        for (int r = 0; r < format->getResolutionCount(); ++r) {
            IResolution* size = format->getResolution(r);
            if (!size || size->getWidth() == 0 || size->getHeight() == 0)
                continue;
            const bool first = currentSize && size->getWidth() == currentSize->getWidth()
                               && size->getHeight() == currentSize->getHeight();
            sizes.insert(first ? sizes.begin() : sizes.end(), size);
        }
        for (IResolution* size : sizes) {
            GstStructure* structure = structureOf(fourcc);
            gst_structure_set(structure, "width", G_TYPE_INT, int(size->getWidth()), "height", G_TYPE_INT,
                              int(size->getHeight()), nullptr);
            if (!setRates(structure, *size, currentInterval)) {
                gst_structure_free(structure);
                continue;
            }
            gst_caps_append_structure(caps, structure);
        }
    }
    return caps;
}

GstCaps* FormatCaps::templateCaps()
{
    GstCaps* caps = gst_caps_new_empty();
    for (const Mapping& mapping : kMappings) {
        // MJPG and JPEG share one media type.
        if (std::strcmp(mapping.fourcc, "JPEG") == 0)
            continue;
        GstStructure* structure = structureOf(QLatin1String(mapping.fourcc));
        gst_structure_set(structure, "width", GST_TYPE_INT_RANGE, 1, G_MAXINT, "height", GST_TYPE_INT_RANGE, 1,
                          G_MAXINT, "framerate", GST_TYPE_FRACTION_RANGE, 0, 1, G_MAXINT, 1, nullptr);
        caps = gst_caps_merge_structure(caps, structure);
    }
    return caps;
}

bool FormatCaps::request(ICamera& camera, const GstCaps* caps, FormatChoice::Request* request)
{
    if (!caps || gst_caps_get_size(caps) < 1)
        return false;
    const GstStructure* structure = gst_caps_get_structure(caps, 0);
    const char* format = gst_structure_get_string(structure, "format");
    // The camera's own code for the media type: MJPG or JPEG are both image/jpeg.
    QString fourcc;
    for (int i = 0; i < camera.getFormatCount() && fourcc.isEmpty(); ++i) {
        IPixelFormat* candidate = camera.getFormat(i);
        const Mapping* mapping = candidate ? mappingOf(layerText(candidate->getFourCC())) : nullptr;
        if (mapping && gst_structure_has_name(structure, mapping->media)
            && (!mapping->format || (format && std::strcmp(format, mapping->format) == 0)))
            fourcc = QLatin1String(mapping->fourcc);
    }
    int width = 0;
    int height = 0;
    int rateNumerator = 0;
    int rateDenominator = 0;
    if (fourcc.isEmpty() || !gst_structure_get_int(structure, "width", &width)
        || !gst_structure_get_int(structure, "height", &height)
        || !gst_structure_get_fraction(structure, "framerate", &rateNumerator, &rateDenominator) || width <= 0
        || height <= 0 || rateNumerator <= 0 || rateDenominator <= 0)
        return false;
    *request = FormatChoice::Request();
    request->fourcc = fourcc;
    request->size = FormatChoice::Size{unsigned(width), unsigned(height)};
    request->interval = FormatChoice::Interval{rateDenominator, rateNumerator};
    return true;
}

int FormatCaps::packedStride(const QString& fourcc, int width)
{
    const Mapping* mapping = mappingOf(fourcc);
    if (!mapping || mapping->bytesPerPixel == 0)
        return 0;
    return (width * mapping->bytesPerPixel + 3) & ~3;
}

} // namespace Tarvello
