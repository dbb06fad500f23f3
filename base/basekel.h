// basekel: the umbrella header. Includes every exported header of the library.
#ifndef BASEKEL_BASEKEL_H
#define BASEKEL_BASEKEL_H

#include "kelexport.h"
#include "kelwin32.h"
#include "Sync.h"

#endif
