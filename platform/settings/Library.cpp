// The library's one exported object. It is never destroyed: a program may read settings while it
// ends, in an order that nobody controls.
#include "FileSettings.h"

Settings* settings = new FileSettings;
