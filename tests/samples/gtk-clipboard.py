#!/usr/bin/python3
"""Puts an image of 4 x 2 red pixels on the clipboard as a GTK program does.

Runs until another program ends it.
"""
import sys

try:
    import gi
    gi.require_version("Gtk", "3.0")
    from gi.repository import Gdk, GdkPixbuf, Gtk
except (ImportError, ValueError):
    sys.exit(77)
if not Gtk.init_check()[0]:
    sys.exit(1)

image = GdkPixbuf.Pixbuf.new(GdkPixbuf.Colorspace.RGB, False, 8, 4, 2)
image.fill(0xFF0000FF)
Gtk.Clipboard.get(Gdk.SELECTION_CLIPBOARD).set_image(image)
Gtk.main()
