// SPDX-License-Identifier: Apache-2.0
// The operation table: one row binds one exported operation. Calling, checking, help, completion, listing and plans all
// come from the rows, which a bench reads as a description.
#ifndef FAPI_AGENT_OPERATIONS_OPERATION_H
#define FAPI_AGENT_OPERATIONS_OPERATION_H

#include <string>
#include <string_view>
#include <vector>

#include "operations/call.h"

namespace tool {

// Throws UsageError for arguments, and their words, that do not go together.
using Check = void (*)(const std::vector<Value>& values, const std::vector<std::string>& words);

class OperationRow : public Operation {
public:
    using Run = long long (*)(Call& call);
    using Verify = bool (*)(const Call& call);
    using Warning = std::string (*)(const std::vector<Value>& values, const std::vector<Value>& first);

    // "a_vextvfapi_sys_check_file", and what it does in one line. What only asks the chip, by the words of its name,
    // reads.
    OperationRow(const char* fullName, const char* line, Result kind, std::vector<Argument> takes,
                 std::vector<Output> answers, Run run);

    // What is lost, for the question before the call: "overwrites the file".
    OperationRow&& destroying(const char* what) &&;
    // Such a call is never ended in the middle.
    OperationRow&& mustFinish() &&;
    OperationRow&& checkedBy(Check together) &&;
    // Looks at the set for whether all went well, when the status cannot tell.
    OperationRow&& verifiedBy(Verify verify) &&;
    // Says what the contract makes of arguments that look like something else, or nothing; `first` are those of the
    // operation's first call since the set was switched on.
    OperationRow&& warning(Warning saying) &&;
    // What the bench calls it for: "read-partition".
    OperationRow&& usedFor(const char* use) &&;
    // A line of the shell that shows it, and those that a new set needs before it.
    OperationRow&& example(const char* line, std::vector<std::string> before = {}) &&;
    // Why the example answers a failure, where nothing better can be shown.
    OperationRow&& failing(const char* why) &&;

    // Calls the operation.
    Outcome invoke(const std::vector<Value>& values) const;
    void check(const std::vector<Value>& values, const std::vector<std::string>& words) const;
    std::string warningOf(const std::vector<Value>& values, const std::vector<Value>& first) const;

private:
    Run _run;
    Check _check = nullptr;
    Verify _verify = nullptr;
    Warning _warning = nullptr;
};

// Every exported operation, sorted by module and name.
const std::vector<OperationRow>& operationRows();

// By full or short name; null when there is none.
const OperationRow* findOperationRow(std::string_view name);

// The rows of one module or subject, each in the source file of its name; operationRows() puts them together.
std::vector<OperationRow> audOperations();
std::vector<OperationRow> chipOperations();
std::vector<OperationRow> commonOperations();
std::vector<OperationRow> dispOperations();
std::vector<OperationRow> dispPictureOperations();
std::vector<OperationRow> disptstOperations();
std::vector<OperationRow> eventOperations();  // the event trio of all modules
std::vector<OperationRow> hdmiOperations();
std::vector<OperationRow> iicAndGpioOperations();
std::vector<OperationRow> infoOperations();
std::vector<OperationRow> inpsrcOperations();
std::vector<OperationRow> keypadOperations();
std::vector<OperationRow> netOperations();
std::vector<OperationRow> prphrlOperations();
std::vector<OperationRow> storageOperations();
std::vector<OperationRow> sysOperations();

}  // namespace tool

#endif
