// SPDX-License-Identifier: Apache-2.0
// The client of the set's factory daemon.
#define FAPI_LOG_TAG "VexTvFApiSystem"
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "a_vextvfapi_sys.h"
#include "base/fapi_log.h"

namespace {

constexpr char kSocketName[] = "@FACTORY_SERVER";
constexpr std::size_t kSocketNameLength = sizeof(kSocketName) - 1;

// A command as sent over the socket, in the byte order of the set.
struct CommandRecord {
    std::int32_t s32Command;
    char acParameters[256];
};
static_assert(sizeof(CommandRecord) == 260, "the daemon reads this many bytes");

constexpr int kUnsupported = -1;

struct CommandNumbers {
    int s32Caller;
    int s32Daemon;
};
constexpr CommandNumbers kCommands[] = {
    {fapi_core::E_VEXTVFAPI_SYS_FACTORY_SVC_CMD_0, 2},
    {fapi_core::E_VEXTVFAPI_SYS_FACTORY_SVC_CMD_1, 4},
};

}  // namespace

int _a_vextvfapi_sys_convert_factory_cmd(int cmd) {
    for (const CommandNumbers& stNumbers : kCommands) {
        if (stNumbers.s32Caller == cmd) {
            return stNumbers.s32Daemon;
        }
    }
    return kUnsupported;
}

static bool connectDaemon(int s32Fd, const char* pszCaller = __builtin_FUNCTION()) {
    sockaddr_un stAddress = {};
    stAddress.sun_family = AF_UNIX;
    // The compiler must not know the name, or it would find that the check cannot fail and leave it out.
    const char* volatile pszName = kSocketName;
    const int s32Length = std::snprintf(stAddress.sun_path, sizeof(stAddress.sun_path), "%s", pszName);
    if (s32Length != static_cast<int>(kSocketNameLength)) {
        FAPI_LOGE_AS(pszCaller, "[%s(%d)]: do snprintf fail\n", pszCaller, __LINE__);
        return false;
    }
    // An abstract name begins with a zero byte and ends with the length, so the terminator is no part of it.
    stAddress.sun_path[0] = '\0';
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + kSocketNameLength);
    const int s32Result = connect(s32Fd, reinterpret_cast<const sockaddr*>(&stAddress), length);
    if (s32Result != 0) {
        FAPI_LOGE_AS(pszCaller, "Error: connect() failed, ret=%d, error=%d\n\n", s32Result, errno);
        return false;
    }
    return true;
}

static void sendRecord(int s32Fd, int s32DaemonCommand, const char* param,
                       const char* pszCaller = __builtin_FUNCTION()) {
    CommandRecord stRecord = {};
    stRecord.s32Command = s32DaemonCommand;
    std::strncpy(stRecord.acParameters, param, sizeof(stRecord.acParameters) - 1);
    FAPI_LOGD_AS(pszCaller, "cmd:%d, parameters:%s\n\n", stRecord.s32Command, stRecord.acParameters);
    // A daemon that has hung up is a failed send; without the flag SIGPIPE would end the process.
    if (sendto(s32Fd, &stRecord, sizeof(stRecord), MSG_NOSIGNAL, nullptr, 0) < 1) {
        // Contract: the answer is awaited after a failure, too, and the message always shows 0 as the result.
        FAPI_LOGE_AS(pszCaller, "Error: send() failed, ret=%d, error=%s\n\n", 0, strerror(errno));
    }
}

// Returns the status for the daemon's answer. Contract: 0 also when the daemon hangs up without one.
static int readStatus(int s32Fd, int cmd, const char* pszCaller = __builtin_FUNCTION()) {
    std::int32_t s32DaemonStatus = 0;
    if (read(s32Fd, &s32DaemonStatus, sizeof(s32DaemonStatus)) < 1) {
        return 0;
    }
    // Contract: level E for every status.
    FAPI_LOGE_AS(pszCaller, "command:%d return %d:%s\n\n", cmd, s32DaemonStatus, strerror(s32DaemonStatus));
    return s32DaemonStatus == 0 ? 0 : -1;
}

static int talkToDaemon(int s32Fd, int cmd, int s32DaemonCommand, const char* param,
                        const char* pszCaller = __builtin_FUNCTION()) {
    FAPI_LOGD_AS(pszCaller, "SOCKET_NAME:%s\n\n", kSocketName);
    if (!connectDaemon(s32Fd, pszCaller)) {
        return -1;
    }
    sendRecord(s32Fd, s32DaemonCommand, param, pszCaller);
    return readStatus(s32Fd, cmd, pszCaller);
}

int a_vextvfapi_sys_send_cmd_to_factory_svc(int cmd, const char* param) {
    if (param == nullptr) {
        FAPI_LOGE("pu8Param is null\n\n");
        return -2;
    }
    const int s32DaemonCommand = _a_vextvfapi_sys_convert_factory_cmd(cmd);
    if (s32DaemonCommand == kUnsupported) {
        FAPI_LOGE("s32Cmd is not support\n\n");
        return -2;
    }
    if (std::strlen(param) + 1 >= sizeof(CommandRecord::acParameters)) {
        FAPI_LOGE("pu8Param is overflow.\n\n");
        return -1;
    }
    int s32Status = -1;
    const int s32Fd = socket(AF_UNIX, SOCK_STREAM, 0);
    if (s32Fd == -1) {
        FAPI_LOGE("Error: socket() failed, error=%d\n\n", errno);
    } else {
        s32Status = talkToDaemon(s32Fd, cmd, s32DaemonCommand, param);
    }
    FAPI_LOGD("factory_client end\n\n");
    if (s32Fd != -1) {
        close(s32Fd);
    }
    return s32Status;
}
