#include "TskError.h"

#include <tsk/libtsk.h>

namespace vx {
namespace {

const char *MeaningOf(uint32_t error)
{
    switch (error) {
    case TSK_ERR_AUX_MALLOC:
        return "there is not enough memory";
    case TSK_ERR_IMG_NOFILE:
    case TSK_ERR_IMG_OPEN:
    case TSK_ERR_IMG_STAT:
        return "the image, or one of its parts, is damaged, missing or may not be read";
    case TSK_ERR_IMG_SEEK:
    case TSK_ERR_IMG_READ:
        return "a part of the image is damaged, missing or cannot be read";
    case TSK_ERR_IMG_OFFSET:
    case TSK_ERR_IMG_READ_OFF:
        return "the image ends before this place";
    case TSK_ERR_IMG_PASSWD:
        return "the image is protected by a password of its own";
    case TSK_ERR_IMG_UNKTYPE:
    case TSK_ERR_IMG_UNSUPTYPE:
    case TSK_ERR_IMG_MAGIC:
        return "the image is damaged, or of a version that is not supported";
    default:
        return "the image is damaged";
    }
}

}  // namespace

std::string TakeTskError()
{
    const char *meaning = MeaningOf(tsk_error_get_errno());
    tsk_error_reset();
    return meaning;
}

}  // namespace vx
