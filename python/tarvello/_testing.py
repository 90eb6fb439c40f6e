"""For tests only: plugs the layer's virtual cameras in and out, and
converts given bytes as a stream would convert a frame of them.

Not part of the package's interface. The environment variable
IMAGEACQUISITION_VIRTUAL_CAMERAS sets how many virtual cameras there are
at first.
"""

from ._native import _testing as _virtual

count = _virtual.count
plug = _virtual.plug
unplug = _virtual.unplug
serial_line_path = _virtual.serial_line_path
convert = _virtual.convert

__all__ = ["count", "plug", "unplug", "serial_line_path", "convert"]
