#pragma once

// Everything the application needs of the camera layer.

#include "icamera.h"
#include "icameracontrol.h"
#include "icameracontrolbasemenu.h"
#include "icameracontrolboolean.h"
#include "icameracontrolbutton.h"
#include "icameracontrolint64menu.h"
#include "icameracontrolnumeric.h"
#include "icameracontrolstring.h"
#include "icameracontrolstringmenu.h"
#include "icameraevent.h"
#include "icamerafactory.h"
#include "icameramonitor.h"
#include "icontinuouscameramonitor.h"
#include "idevice.h"
#include "idevicelist.h"
#include "iframe.h"
#include "iframeinterval.h"
#include "ipixelformat.h"
#include "iresolution.h"
#include "istreamingcamera.h"
