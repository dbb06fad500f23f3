// basekel: the umbrella header. Includes every exported header of the library.
#ifndef BASEKEL_BASEKEL_H
#define BASEKEL_BASEKEL_H

#include "kelexport.h"
#include "kelwin32.h"
#include "SmartPtr.h"
#include "ReferenceCount.h"
#include "Lists.h"
#include "Geometry.h"
#include "Transform.h"
#include "LinePath.h"

#include "TString.h"
#include "FileString.h"
#include "MessageSystem.h"
#include "Error.h"
#include "Sync.h"
#include "FILE.h"
#include "MemReadFile.h"
#include "DYNAMIC.h"

#endif
