// The command baseline.
#pragma once

namespace CLI {
class App;
}

namespace zelhealth {

// `status` gets the exit status.
void DeclareBaseline(CLI::App& app, int& status);

}  // namespace zelhealth
