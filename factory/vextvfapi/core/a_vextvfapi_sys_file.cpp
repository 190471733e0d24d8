// SPDX-License-Identifier: Apache-2.0
// File services.
#define FAPI_LOG_TAG "VexTvFApiSystem"
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include <fcntl.h>
#include <libgen.h>
#include <sys/stat.h>

#include "a_vextvfapi_sys.h"
#include "base/fapi_log.h"
#include "hw3/hw_fs.h"

namespace {

constexpr HW_U32 kFolderMode = 0755;
constexpr mode_t kFileMode = 0644;
constexpr HW_S32 kOpenRead = 0;
constexpr HW_S32 kOpenReadWrite = 2;
// The result of HW_FS_Open when the file does not exist; other negative values are other failures.
constexpr HW_S32 kAbsent = -1;
constexpr HW_U32 kCopyChunk = 1024;
constexpr HW_S32 kReadError = -1;

}  // namespace

static const char* asText(const unsigned char* pu8Text) {
    return reinterpret_cast<const char*>(pu8Text);
}

static bool isNullOrEmpty(const unsigned char* pu8Text) {
    return pu8Text == nullptr || *pu8Text == '\0';
}

static bool exists(const char* pszPath) {
    struct stat stStat = {};
    return HW_FS_Stat(pszPath, &stStat) == 0;
}

namespace {

// The folder of a path. dirname() works inside the copy and may return static storage: only the copy is owned.
class ParentFolder {
public:
    // Copies the path and finds its folder. False, with a message, without memory.
    bool take(const unsigned char* pu8Path, const char* pszCaller = __builtin_FUNCTION()) {
        const std::size_t size = std::strlen(asText(pu8Path)) + 1;
        _copy.reset(new (std::nothrow) char[size]);
        if (_copy == nullptr) {
            FAPI_LOGD_AS(pszCaller, "FAPI_MALLOC fail\n");
            return false;
        }
        std::memcpy(_copy.get(), pu8Path, size);
        _pszFolder = dirname(_copy.get());
        return true;
    }

    const char* path() const { return _pszFolder; }

private:
    std::unique_ptr<char[]> _copy;
    const char* _pszFolder = nullptr;
};

}  // namespace

static void logNames(const unsigned char* pu8Path, const ParentFolder& folder,
                     const char* pszCaller = __builtin_FUNCTION()) {
    FAPI_LOGD_AS(pszCaller, "pu8FileName:%s\n", pu8Path);
    // Some C libraries return null for an overlong path.
    FAPI_LOGD_AS(pszCaller, "pszFilePath:%s\n", fapi::logText(folder.path()));
}

namespace {

struct StreamCloser {
    void operator()(FILE* pStream) const { HW_FS_Fclose(pStream); }
};
using Stream = std::unique_ptr<FILE, StreamCloser>;

}  // namespace

// Seeks; a position beyond the seek's signed offset is a seek that failed.
static HW_S32 seekTo(FILE* pStream, unsigned long long u64Position) {
    if (u64Position > static_cast<unsigned long long>(LONG_MAX)) {
        return -1;
    }
    return HW_FS_Fseek(pStream, static_cast<HW_S64>(u64Position), SEEK_SET);
}

static int openForWriting(const unsigned char* path) {
    return open(asText(path), O_WRONLY | O_CREAT | O_TRUNC, kFileMode);
}

int a_vextvfapi_sys_check_file(const unsigned char* path) {
    if (path == nullptr) {
        FAPI_LOGE("pu8FilePath NULL\n");
        return -1;
    }
    const HW_S32 s32Fd = HW_FS_Open(asText(path), kOpenRead);
    if (s32Fd < 0) {
        FAPI_LOGE("Error: failed to HW_FS_Open(%s)\n\n", path);
        return -1;
    }
    FAPI_LOGD("Check the file of %s success\n", path);
    HW_FS_Close(s32Fd);
    return 0;
}

int a_vextvfapi_sys_remove_file(const unsigned char* path) {
    if (path == nullptr) {
        FAPI_LOGE("filePath NULL\n");
        return -1;
    }
    FAPI_LOGD("Remove file: %s\n\n", path);
    if (HW_FS_Unlink(asText(path)) != 0) {
        FAPI_LOGE("Error: failed to HW_FS_Unlink(%s)\n\n", path);
        return -1;
    }
    FAPI_LOGD("Remove file %s success\n", path);
    return 0;
}

int a_vextvfapi_sys_create_folder(const unsigned char* path) {
    FAPI_LOGD("[Factory] Create Folder (%s)\n", fapi::logText(path));
    if (isNullOrEmpty(path)) {
        FAPI_LOGE("FolderPath is null.\n");
        return -1;
    }
    int s32Status = 0;
    if (exists(asText(path))) {
        FAPI_LOGD("Folder Exist (%s)\n", path);
    } else if (HW_FS_MkDir(asText(path), kFolderMode) != 0) {
        FAPI_LOGE("Folder not found, create failed\n\n");
        s32Status = -1;
    } else {
        FAPI_LOGD("Folder create ok\n");
    }
    // Contract: printed after a failure, too.
    FAPI_LOGD("PASS!\n");
    return s32Status;
}

int a_vextvfapi_sys_check_folder(const unsigned char* path) {
    if (isNullOrEmpty(path)) {
        FAPI_LOGE("FolderPath is NULL\n");
        return -1;
    }
    if (!exists(asText(path))) {
        FAPI_LOGE("Folder Not Exist (%s)\n", path);
        return -1;
    }
    // Contract: level E for the good case.
    FAPI_LOGE("Folder Exist (%s)\n", path);
    return 0;
}

int a_vextvfapi_sys_create_file(const unsigned char* path) {
    FAPI_LOGD("[Factory] Open File (%s)\n", fapi::logText(path));
    if (isNullOrEmpty(path)) {
        FAPI_LOGE("FileName is null.\n");
        return -1;
    }
    ParentFolder folder;
    if (!folder.take(path)) {
        return -1;
    }
    logNames(path, folder);
    if (!exists(folder.path())) {
        if (HW_FS_MkDir(folder.path(), kFolderMode) != 0) {
            FAPI_LOGE("Folder not found, create failed\n");
            return -1;
        }
        FAPI_LOGE("Folder create ok\n");
    } else {
        const HW_S32 s32Probe = HW_FS_Open(asText(path), kOpenReadWrite);
        if (s32Probe >= 0) {
            FAPI_LOGE("File Exist (%s)\n", path);
            HW_FS_Close(s32Probe);
            return -1;
        }
        if (s32Probe != kAbsent) {
            FAPI_LOGE("open Write File error\n");
            return -1;
        }
    }
    const int s32Fd = openForWriting(path);
    if (s32Fd < 0) {
        FAPI_LOGE("open Write File error\n");
        return -1;
    }
    FAPI_LOGD("HW_FS_Sync (%s)\n", path);
    HW_FS_Sync();
    FAPI_LOGD("HW_FS_Close (%s)\n", path);
    HW_FS_Close(s32Fd);
    FAPI_LOGD("PASS!\n");
    // Contract: the status is that of this second close, of descriptor 0.
    return HW_FS_Close(0) == 0 ? 0 : -1;
}

// Logs the copy's first line. Contract: once before the checks and once after them.
#define FAPI_LOG_COPY(src, dst, flag)                                                                             \
    FAPI_LOGD("[Factory][%s] Copy File from (%s) to (%s) b_fail_if_exist(%d)\n \n", __func__, fapi::logText(src), \
              fapi::logText(dst), (flag) ? 1 : 0)

// Opens the destination of a copy. Returns the descriptor, or a negative value. Closes the source before the probe when
// an existing destination must be kept.
static int openCopyDestination(Stream& source, const unsigned char* dst, const char* pszFolder, bool b_fail_if_exist,
                               const char* pszCaller = __builtin_FUNCTION()) {
    if (!exists(pszFolder)) {
        if (HW_FS_MkDir(pszFolder, kFolderMode) != 0) {
            FAPI_LOGE_AS(pszCaller, "DIR not found, re-create failed\n\n");
            return -1;
        }
        FAPI_LOGE_AS(pszCaller, "DIR re-create ok\n");
    } else if (b_fail_if_exist) {
        const HW_S32 s32Probe = HW_FS_Open(asText(dst), kOpenReadWrite);
        if (s32Probe >= 0) {
            FAPI_LOGE_AS(pszCaller, "Dest File Exist, and fail trigger by b_fail_if_exist(%d) %s \n\n", 1, dst);
            source.reset();
            HW_FS_Close(s32Probe);
            return -1;
        }
        if (s32Probe != kAbsent) {
            FAPI_LOGE_AS(pszCaller, "open Write File:%s error:%s\n\n", dst, std::strerror(errno));
            return -1;
        }
    }
    const int s32Fd = openForWriting(dst);
    if (s32Fd < 0) {
        FAPI_LOGE_AS(pszCaller, "open Write File:%s error:%s\n\n", dst, std::strerror(errno));
    }
    return s32Fd;
}

static void copyBytes(FILE* pSource, int s32Fd, const unsigned char* dst,
                      const char* pszCaller = __builtin_FUNCTION()) {
    unsigned char au8Chunk[kCopyChunk];
    for (;;) {
        const HW_S32 s32Read = HW_FS_Fread(au8Chunk, 1, kCopyChunk, pSource);
        if (s32Read < 1) {
            return;
        }
        FAPI_LOGD_AS(pszCaller, "Bytes Read = %d\n\n", s32Read);
        FAPI_LOGD_AS(pszCaller, "HW_FS_Write %s\n\n", dst);
        const HW_S32 s32Written = HW_FS_Write(s32Fd, au8Chunk, static_cast<HW_U32>(s32Read));
        if (s32Written != s32Read) {
            FAPI_LOGE_AS(pszCaller, "[%d]failed,x=%d\n\n", __LINE__, s32Written);
            return;
        }
    }
}

// Contract: -1 on every path, also after a copy that worked.
int a_vextvfapi_sys_copy_file(const unsigned char* src, const unsigned char* dst, bool b_fail_if_exist) {
    FAPI_LOG_COPY(src, dst, b_fail_if_exist);
    if (isNullOrEmpty(src)) {
        FAPI_LOGE("%s[%d] SrcFileName is null.\n\n", __func__, __LINE__);
        return -1;
    }
    if (isNullOrEmpty(dst)) {
        FAPI_LOGE("%s[%d] DestFilename is null.\n\n", __func__, __LINE__);
        return -1;
    }
    ParentFolder folder;
    if (!folder.take(dst)) {
        return -1;
    }
    FAPI_LOG_COPY(src, dst, b_fail_if_exist);
    logNames(dst, folder);
    FAPI_LOGD("Open source file  %s\n\n", src);
    Stream source(HW_FS_Fopen(asText(src), "rb"));
    if (source == nullptr) {
        FAPI_LOGE("[%d]failed\n\n", __LINE__);
        return -1;
    }
    const int s32Fd = openCopyDestination(source, dst, folder.path(), b_fail_if_exist);
    if (s32Fd < 0) {
        return -1;
    }
    copyBytes(source.get(), s32Fd, dst);
    // Contract: also after a short write.
    FAPI_LOGD("PASS!\n\n");
    source.reset();
    FAPI_LOGD("HW_FS_Sync %s\n\n", dst);
    HW_FS_Sync();
    HW_FS_Close(s32Fd);
    return -1;
}

int a_vextvfapi_sys_read_file_one_line(const unsigned char* path, unsigned char* buf, unsigned int len,
                                       unsigned long long pos) {
    FAPI_LOGD("read file: %s\n\n", fapi::logText(path));
    FAPI_LOGD("u32DataLength: %d, u64Position: %llu\n\n", static_cast<int>(len), pos);
    if (path == nullptr || buf == nullptr) {
        FAPI_LOGE("Read file %s fail\n", fapi::logText(path));
        return -1;
    }
    if (len == 0) {
        FAPI_LOGE("Invalid paramerters\n");
        return -1;
    }
    int s32Status = a_vextvfapi_sys_check_file(path);
    if (s32Status != 0) {
        return s32Status;
    }
    Stream stream(HW_FS_Fopen(asText(path), "rb"));
    if (stream == nullptr) {
        FAPI_LOGE("Error: HW_FS_Fopen(...) fail\n\n");
        return -1;
    }
    // Contract: the read is attempted after a failed seek, too; the status stays -1.
    if (seekTo(stream.get(), pos) != 0) {
        FAPI_LOGE("Error: HW_FS_Fseek(...) fail\n\n");
        s32Status = -1;
    }
    const int s32Length = len > static_cast<unsigned int>(INT_MAX) ? INT_MAX : static_cast<int>(len);
    if (std::fgets(reinterpret_cast<char*>(buf), s32Length, stream.get()) == nullptr) {
        FAPI_LOGE("Error: fgets(...) fail\n\n");
        s32Status = -1;
    }
    if (HW_FS_Fclose(stream.release()) != 0) {
        FAPI_LOGE("Error: HW_FS_Fclose(...) fail\n\n");
        return -1;
    }
    return s32Status;
}

// Seeks and reads, between open and close of a block read.
static int readBlock(FILE* pStream, const unsigned char* path, unsigned char* buf, unsigned int len,
                     unsigned long long pos, unsigned int* readLen, const char* pszCaller = __builtin_FUNCTION()) {
    const HW_S32 s32Seek = seekTo(pStream, pos);
    if (s32Seek != 0) {
        FAPI_LOGE_AS(pszCaller, "[%d]failed,x=%d\n\n", __LINE__, s32Seek);
        *readLen = 0;
        return -1;
    }
    const HW_S32 s32Read = HW_FS_Fread(buf, 1, len, pStream);
    if (s32Read == kReadError) {
        // Contract: a read error is a success with nothing read.
        *readLen = 0;
        FAPI_LOGE_AS(pszCaller, "Error: HW_FS_Read(%s) fail\n\n", path);
        return 0;
    }
    FAPI_LOGD_AS(pszCaller, "read file size: %d\n\n", s32Read);
    *readLen = static_cast<unsigned int>(s32Read);
    return s32Read != 0 ? 0 : -1;
}

int a_vextvfapi_sys_read_file(const unsigned char* path, unsigned char* buf, unsigned int len, unsigned long long pos,
                              unsigned int* readLen) {
    FAPI_LOGD("read file: %s\n\n", fapi::logText(path));
    FAPI_LOGD("u32DataLength: %d, u64Position: %llu\n\n", static_cast<int>(len), pos);
    if (path == nullptr || buf == nullptr || readLen == nullptr) {
        FAPI_LOGE("Read file %s fail\n", fapi::logText(path));
        return -1;
    }
    if (len == 0) {
        FAPI_LOGE("Invalid paramerters\n");
        return -1;
    }
    const int s32Check = a_vextvfapi_sys_check_file(path);
    if (s32Check != 0) {
        return s32Check;
    }
    Stream stream(HW_FS_Fopen(asText(path), "rb"));
    if (stream == nullptr) {
        FAPI_LOGE("[%d]failed\n\n", __LINE__);
        *readLen = 0;
        return -1;
    }
    const int s32Status = readBlock(stream.get(), path, buf, len, pos, readLen);
    if (HW_FS_Fclose(stream.release()) != 0) {
        FAPI_LOGE("Error: HW_FS_Fclose(...) fail\n\n");
        return -1;
    }
    return s32Status;
}

int a_vextvfapi_sys_get_file_checksum(const unsigned char* path, unsigned int* checksum) {
    if (path == nullptr || checksum == nullptr) {
        FAPI_LOGE("Get file checksum failed.\n\n");
        return -1;
    }
    if (a_vextvfapi_sys_check_file(path) != 0) {
        FAPI_LOGE("Get file checksum failed.\n\n");
        return -1;
    }
    const Stream stream(HW_FS_Fopen(asText(path), "rb"));
    if (stream == nullptr) {
        return -1;
    }
    unsigned int u32Sum = 0;
    unsigned char u8Byte = 0;
    while (HW_FS_Fread(&u8Byte, 1, 1, stream.get()) > 0) {
        u32Sum += u8Byte;
    }
    *checksum = u32Sum & 0xFFFFu;
    return 0;
}

// Opens, writes and closes. Contract: a failed write is a success, and a failed close a failure only if something was
// written.
static int writeAndClose(const unsigned char* path, const unsigned char* mode, const unsigned char* pu8Data,
                         unsigned int len, const char* pszCaller = __builtin_FUNCTION()) {
    FILE* pStream = HW_FS_Fopen(asText(path), asText(mode));
    if (pStream == nullptr) {
        FAPI_LOGE_AS(pszCaller, "Error: HW_FS_Fopen(...) fail\n\n");
        return -1;
    }
    const HW_S32 s32Written = HW_FS_Fwrite(pu8Data, 1, len, pStream);
    const HW_S32 s32Close = HW_FS_Fclose(pStream);
    if (s32Close != 0 && s32Written != 0) {
        FAPI_LOGE_AS(pszCaller, "[%d]failed,x=%d\n\n", __LINE__, s32Close);
        return -1;
    }
    FAPI_LOGD_AS(pszCaller, "PASS!\n");
    return 0;
}

int a_vextvfapi_sys_write_file(const unsigned char* path, const unsigned char* data, unsigned int len,
                               const unsigned char* mode) {
    FAPI_LOGD("[Factory] Open File (%s)\n", fapi::logText(path));
    if (isNullOrEmpty(path)) {
        FAPI_LOGE("FileName is null.\n");
        return -1;
    }
    if (isNullOrEmpty(mode)) {
        FAPI_LOGE("pu8FileMode is null.\n");
        return -1;
    }
    if (data == nullptr || len == 0) {
        FAPI_LOGE("pu8DataBuff is invalid.\n");
        return -1;
    }
    const std::unique_ptr<unsigned char[]> copy(new (std::nothrow) unsigned char[len]);
    if (copy == nullptr) {
        FAPI_LOGE("pu8Data is NULL\n");
        return -1;
    }
    std::memcpy(copy.get(), data, len);
    FAPI_LOGD("u32DataLen: %d\n", static_cast<int>(len));
    ParentFolder folder;
    if (!folder.take(path)) {
        return -1;
    }
    logNames(path, folder);
    if (a_vextvfapi_sys_check_folder(reinterpret_cast<const unsigned char*>(folder.path())) != 0) {
        if (HW_FS_MkDir(folder.path(), kFolderMode) != 0) {
            FAPI_LOGE("Folder not found, create failed\n");
            return -1;
        }
        FAPI_LOGE("Folder create ok\n");
    }
    return writeAndClose(path, mode, copy.get(), len);
}

int a_vextvfapi_sys_change_file_mode(const unsigned char* path, unsigned int mode) {
    FAPI_LOGD("chmod %s %o\n\n", fapi::logText(path), mode);
    if (path == nullptr || chmod(asText(path), static_cast<mode_t>(mode)) < 0) {
        FAPI_LOGE("chmod %s failed!\n\n", fapi::logText(path));
        return -1;
    }
    return 0;
}

int a_vextvfapi_sys_sync_fs() {
    FAPI_LOGD("a_vextvfapi_sys_sync_fs\n");
    return HW_FS_Sync();
}
