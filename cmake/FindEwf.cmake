# The library that reads E01 images.
# Gives EWF_FOUND and the target Ewf::Ewf.
include(ImportLibrary)
vx_import_library(Ewf libewf.h ewf)
