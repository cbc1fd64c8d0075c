// Which cards the SMC tests apply to.
#pragma once

// Whether the open card is of the current generation. When it is not, says so; the test then counts
// neither as passed nor as failed.
bool SmcSupported();
