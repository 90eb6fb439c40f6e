#include "tarvelloplugin.h"

#include "tarvellodeviceprovider.h"
#include "tarvellosrc.h"

namespace TarvelloPlugin {

gboolean init(GstPlugin* plugin)
{
    // Rank none: no automatic element (autovideosrc) picks it over v4l2src
    // for a camera that both can open. The provider ranks below v4l2's, so
    // a monitor lists a camera under both, each with its own element.
    return gst_element_register(plugin, "tarvellosrc", GST_RANK_NONE, GST_TYPE_TARVELLO_SRC)
           && gst_device_provider_register(plugin, "tarvellodeviceprovider", GST_RANK_SECONDARY,
                                           GST_TYPE_TARVELLO_DEVICE_PROVIDER);
}

bool registerStatic()
{
    return gst_plugin_register_static(GST_VERSION_MAJOR, GST_VERSION_MINOR, kName, kDescription, init,
                                      TARVELLO_VERSION, kLicense, kPackage, kPackage, kOrigin);
}

} // namespace TarvelloPlugin
