# The Debian package, built with `cpack -G DEB` in a build configured with
# -DCMAKE_INSTALL_PREFIX=/usr (see package.sh).

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tarvello-center)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR Kelvane)
set(CPACK_PACKAGE_CONTACT "Tarvello Center developers <tarvello-center@kelvane.com>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "view and control Kelvane USB cameras")
set(CPACK_PACKAGE_DESCRIPTION
    "Tarvello Center shows the live video of a Kelvane USB camera, or of any other\n"
    "UVC camera: choice of device, pixel format, resolution and frame interval,\n"
    "snapshots, soft reset, a settings dialog built from the camera's controls, a\n"
    "camera info dialog and a console showing what the camera sends over its USB\n"
    "serial line. A udev rule gives the user at the seat access to the cameras.\n"
    "Also: tarvello-ctl for the shell, the GStreamer element tarvellosrc with a\n"
    "device provider, and tarvello-serve, which serves the cameras over RTSP.")
string(CONCAT CPACK_PACKAGE_DESCRIPTION ${CPACK_PACKAGE_DESCRIPTION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://www.kelvane.com/tarvello-center")
# The libraries come from dpkg-shlibdeps; the serial console runs fuser.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "usr/${TARVELLO_INSTALL_PKGLIBDIR}")
set(CPACK_DEBIAN_PACKAGE_DEPENDS "psmisc")
# The Python package is an extra: its frames are numpy arrays, but the
# application does not need Python at all.
set(recommends)
if(TARVELLO_BUILD_PYTHON)
    list(APPEND recommends python3 python3-numpy)
endif()
# The plugin's and tarvello-serve's pipelines: JPEG, RTP and the RTSP
# client (good), videoconvert (base), x264enc (ugly).
if(TARVELLO_BUILD_GSTREAMER)
    list(APPEND recommends gstreamer1.0-plugins-base gstreamer1.0-plugins-good gstreamer1.0-plugins-ugly)
endif()
string(REPLACE ";" ", " CPACK_DEBIAN_PACKAGE_RECOMMENDS "${recommends}")
# Plugged cameras get the new rule's access without being replugged. Our own
# postrm also keeps CPack from adding an ldconfig call for the private
# libraries, which sit below usr/lib but outside the linker's path.
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
    ${CMAKE_CURRENT_SOURCE_DIR}/debian/postinst
    ${CMAKE_CURRENT_SOURCE_DIR}/debian/postrm)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

include(CPack)
