#include "ui/app/screen.h"

// The screen base class lives in its own translation unit so that Qt's meta-object
// code for it is generated and linked once.
