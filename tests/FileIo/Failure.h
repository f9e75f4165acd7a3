// The failure an action raises, as one line that the file tests compare.
#pragma once

#include <memory>
#include <string>

#include "Exceptions.h"

// "<exit status> <message shown>" of the Exception that action throws; "" when it throws none.
template <typename Action> std::string Failure(Action action) {
    try {
        action();
    } catch (Exception* e) {
        const std::unique_ptr<Exception> owned(e);
        return std::to_string(e->GetReturnCode()) + " " + e->GetDisplayMessage();
    }
    return "";
}
