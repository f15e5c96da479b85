// The whole platform API of Quillbox: the Windows services that structured
// storage and automation rely on, with their Windows names and signatures.
// Link with -lquillbox.
#pragma once

#include "quillbox/wtypes.h"
#include "quillbox/guiddef.h"
#include "quillbox/winerror.h"
#include "quillbox/unknwn.h"
#include "quillbox/oaidl.h"
#include "quillbox/oleauto.h"
#include "quillbox/objbase.h"
#include "quillbox/winreg.h"
#include "quillbox/winuser.h"
#include "quillbox/winnls.h"
#include "quillbox/timeapi.h"
#include "quillbox/errhandlingapi.h"
#include "quillbox/objidl.h"
#include "quillbox/coml2api.h"
#include "quillbox/ocidl.h"
#include "quillbox/ole2.h"
#include "quillbox/hglobal.h"
#include "quillbox/propidl.h"
#include "quillbox/com_ptr.h"
#include "quillbox/version.h"
