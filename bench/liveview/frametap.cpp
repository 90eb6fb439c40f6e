#include "frametap.h"

FrameTap& FrameTap::instance()
{
    static FrameTap tap;
    return tap;
}
