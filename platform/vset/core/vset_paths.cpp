// SPDX-License-Identifier: Apache-2.0
// The rule that maps the set's absolute paths into the tree of its folder.
#include "vset_paths.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "vset/vset.h"
#include "vset_folder.h"

namespace vset {

namespace {

thread_local unsigned int t_u32HostPaths = 0;
thread_local const char* t_pszPretended = nullptr;
thread_local bool t_bPretendedExists = false;

struct Tree {
    std::mutex mutex;
    std::string strTree;
};

Tree& theTree() {
    static Tree& tree = *new Tree;
    return tree;
}

// Returns the path without ".", ".." and doubled slashes, as the kernel would resolve it in a tree without links.
std::string normalise(const char* pszPath) {
    std::string strResult;
    for (const char* pszPart = pszPath; *pszPart != '\0';) {
        pszPart += std::strspn(pszPart, "/");
        const std::size_t length = std::strcspn(pszPart, "/");
        const std::string strPart(pszPart, length);
        if (strPart == "..") {
            const std::size_t slash = strResult.rfind('/');
            strResult.resize(slash == std::string::npos ? 0 : slash);
        } else if (!strPart.empty() && strPart != ".") {
            strResult += '/' + strPart;
        }
        pszPart += length;
    }
    return strResult.empty() ? "/" : strResult;
}

bool isAtOrBelow(const std::string& strPath, const char* pszFolder) {
    const std::size_t length = std::strlen(pszFolder);
    return strPath.compare(0, length, pszFolder) == 0 && (strPath.size() == length || strPath[length] == '/');
}

constexpr char kSerialPort[] = "/dev/ttyS";
constexpr std::size_t kSerialPortLength = sizeof(kSerialPort) - 1;

bool isSerialPort(const std::string& strPath) {
    return strPath.compare(0, kSerialPortLength, kSerialPort) == 0 && strPath.size() > kSerialPortLength &&
           strPath.find_first_not_of("0123456789", kSerialPortLength) == std::string::npos;
}

bool isServedNormalised(const std::string& strPath) {
    for (const char* pszFolder : {"/data", "/vendor", "/mnt", "/sys/kernel/uart"}) {
        if (isAtOrBelow(strPath, pszFolder)) {
            return true;
        }
    }
    return isSerialPort(strPath);
}

}  // namespace

void setTree(const std::string& strTree) {
    Tree& tree = theTree();
    const std::lock_guard<std::mutex> lock(tree.mutex);
    tree.strTree = strTree;
}

bool isServed(const char* pszPath) {
    return pszPath != nullptr && *pszPath == '/' && isServedNormalised(normalise(pszPath));
}

int serialPortOf(const char* pszPath) {
    const std::string strPath = isServed(pszPath) ? normalise(pszPath) : "";
    if (!isSerialPort(strPath)) {
        return -1;
    }
    return static_cast<int>(std::min(std::strtol(strPath.c_str() + kSerialPortLength, nullptr, 10), 0x7FFFFFFFL));
}

// Returns where a set's tree has the path; an empty text for a path that the set does not serve.
static std::string placeInTree(const char* pszPath) {
    if (!isServed(pszPath)) {
        return {};
    }
    // The kernel requires "file/" to be a folder, so the tree must, too.
    return normalise(pszPath) + (pszPath[std::strlen(pszPath) - 1] == '/' ? "/" : "");
}

const char* toHost(const char* pszPath, std::string& strBuffer) {
    const std::string strPlace = placeInTree(pszPath);
    if (strPlace.empty()) {
        return pszPath;
    }
    Tree& tree = theTree();
    const std::lock_guard<std::mutex> lock(tree.mutex);
    // Without a tree an empty text and not the path itself, which is another file on the host.
    strBuffer = tree.strTree.empty() ? "" : tree.strTree + strPlace;
    return strBuffer.c_str();
}

std::string hostPath(const std::string& strPath, const std::string& strFolder) {
    const std::string strPlace = placeInTree(strPath.c_str());
    return strPlace.empty() ? strPath : absoluteFolder(strFolder) + kTree + strPlace;
}

std::string hostPath(const std::string& strPath) {
    std::string strBuffer;
    return toHost(strPath.c_str(), strBuffer);
}

std::optional<bool> pretendedExistence(const char* pszPath) {
    const bool bPretended =
        t_pszPretended != nullptr && pszPath != nullptr && !areHostPaths() && std::strcmp(pszPath, t_pszPretended) == 0;
    return bPretended ? std::optional(t_bPretendedExists) : std::nullopt;
}

bool areHostPaths() {
    return t_u32HostPaths != 0;
}

HostPaths::HostPaths() {
    ++t_u32HostPaths;
}

HostPaths::~HostPaths() {
    --t_u32HostPaths;
}

PretendedFile::PretendedFile(const char* pszPath, bool bExists)
    : _pszBefore(t_pszPretended), _bExistedBefore(t_bPretendedExists) {
    t_pszPretended = pszPath;
    t_bPretendedExists = bExists;
}

PretendedFile::~PretendedFile() {
    t_pszPretended = _pszBefore;
    t_bPretendedExists = _bExistedBefore;
}

}  // namespace vset
