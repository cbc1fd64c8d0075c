// The run parameters.
#include "TestEngine/te_main_params.h"

ifstSetupParameters_t ifstSetupParams;
