// The common services every window uses: message box, audit log, machine name,
// IP address, help, the workflow-type range check, and the error trap.
#pragma once

#include <exception>
#include <functional>

#include "automation/object.h"

namespace lumo {

namespace msgbox {
enum Type : int32_t { vbOKOnly = 0, vbOKCancel = 1, vbAbortRetryIgnore = 2, vbYesNoCancel = 3, vbYesNo = 4, vbRetryCancel = 5 };
enum Result : int32_t { vbOK = 1, vbCancel = 2, vbAbort = 3, vbRetry = 4, vbIgnore = 5, vbYes = 6, vbNo = 7 };
constexpr int32_t vbInformation = 64;
}  // namespace msgbox

extern const char16_t* const kDefaultTitle;  // "Vantor提示"

int32_t msgBoxEx(const ustring& prompt, int32_t buttons = msgbox::vbOKOnly, const ustring& title = kDefaultTitle);

// The host's message service: shows one text to the user.
void showHostMessage(const ustring& text);

namespace audit {
constexpr int32_t Opened = 1;
constexpr int32_t Closed = 3;
constexpr int32_t Operation = 5;
}  // namespace audit

// Never fails: 0 when the log server is missing or fails.
int32_t writeLog(const ustring& funcCode, int32_t action, const ustring& description, const ustring& machineName,
                 const ustring& ipAddress);

// One row of a batch audit: the fields "FFuncID", "FStatement" (5), "FDesc",
// "FMachineName", "FIPAddress".
ObjectPtr makeBatchAuditRecord(const ustring& funcCode, const ustring& description, const ustring& machineName,
                               const ustring& ipAddress);
// Hands a collection of batch records to the log server's WriteBatchLog.
void writeBatchLog(const ObjectPtr& records);

ustring getMachineName();  // "" on failure
ustring getIPAddress();    // "" unless ReadTcp reports 1
void showHelp(intptr_t formWindow);
bool checkOrnListDataType(const ustring& moduleType, const ustring& value);

// Runs body under a window procedure's error trap: an error ends the body, is
// recorded as the pending error with 'source' filled in, and its description is
// shown through the host's message service. Returns false when it trapped.
bool errorTrap(const ustring& source, const std::function<void()>& body);
// The same trap for an error already caught elsewhere (a window procedure's guard).
void trapError(std::exception_ptr error, const ustring& source);

}  // namespace lumo
