# Finds libudev. Defines Udev::Udev.
include(PlainLibrary)
vx_find_plain_library(Udev libudev.h udev)
