// SPDX-License-Identifier: Apache-2.0
// SHA-256, and lists of files with theirs as sha256sum makes and checks them.
#ifndef FAPI_BENCH_BASE_SHA256_H
#define FAPI_BENCH_BASE_SHA256_H

#include <map>
#include <memory>
#include <string>
#include <string_view>

#include <openssl/evp.h>

namespace tool {

class Sha256 {
public:
    Sha256();
    void add(const void* data, std::size_t size);
    // In hexadecimal digits. Nothing can be added behind it.
    std::string sum();

private:
    std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> _context;
};

// Path -> sum.
using Sums = std::map<std::string, std::string>;

std::string sumsText(const Sums& sums);
// Throws std::runtime_error when the text is no such list.
Sums parseSums(std::string_view text);

}  // namespace tool

#endif
