#pragma once
// ACAPI_CallUndoableCommand: runs `command` as one undoable step named `undoText`.
#include <functional>
#include <string>

#include "host/HostTypes.h"

namespace host {

class UndoableCommand {
public:
    virtual ~UndoableCommand() = default;
    virtual ErrCode CallUndoableCommand(const std::string& undoText, const std::function<ErrCode()>& command) = 0;
};

}  // namespace host
