#include "engine/check/context.h"

void CheckPictures(CheckContext*, CheckedDocument*)
{
}
