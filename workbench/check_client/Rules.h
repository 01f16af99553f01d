#pragma once

#include "workbench/check_client/Session.h"

#include <functional>
#include <string>
#include <vector>

namespace check_client {

enum class Needs {
    Nothing,
    Client,  ///< that runs; it is started anew after a failure
    Messages ///< that the client has sent before
};

struct Rule {
    const char* id;
    const char* sentence; ///< of the page; a table row of the page is a sentence
                          ///< too, or its beginning
    Needs needs;
    /// Says what is wrong; empty when nothing is. @throws NotTested.
    std::function<std::string(Session&)> check;
};

/// In the order in which they are checked.
const std::vector<Rule>& Rules();

} // namespace check_client
