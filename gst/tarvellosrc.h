#pragma once

#include <gst/base/gstpushsrc.h>
#include <gst/gst.h>

G_BEGIN_DECLS

// tarvellosrc: a live source of one camera of the camera layer (Kelvane's
// cameras, other V4L2 cameras, the virtual camera), chosen by the same
// selectors as tarvello-ctl -d.
#define GST_TYPE_TARVELLO_SRC (gst_tarvello_src_get_type())
G_DECLARE_FINAL_TYPE(GstTarvelloSrc, gst_tarvello_src, GST, TARVELLO_SRC, GstPushSrc)

G_END_DECLS
