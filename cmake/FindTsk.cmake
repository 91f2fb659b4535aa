# The Sleuth Kit's library, of which the formats of disk images are used.
# Gives TSK_FOUND and the target Tsk::Tsk.
include(ImportLibrary)
vx_import_library(Tsk tsk/libtsk.h tsk)
