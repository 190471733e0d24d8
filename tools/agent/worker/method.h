// SPDX-License-Identifier: Apache-2.0
// The methods of the worker: what it answers to requests.
#ifndef FAPI_AGENT_WORKER_METHOD_H
#define FAPI_AGENT_WORKER_METHOD_H

#include <algorithm>
#include <fstream>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "protocol/message.h"

namespace tool {

// Returns the next piece of a stream, at most so many bytes; an empty one at its end.
using Pieces = std::function<Bytes(std::size_t most)>;

struct Reply {
    Reply(Field answer = Field::Fields{}) : result(std::move(answer)) {}
    Reply(Field answer, Pieces stream) : result(std::move(answer)), pieces(std::move(stream)) {}

    Field result;
    Pieces pieces;  // what follows the answer; none: nothing does
};

// The rest of a file, as a stream.
inline Pieces piecesOf(std::shared_ptr<std::ifstream> file) {
    return [file = std::move(file)](std::size_t most) {
        Bytes piece(most);
        file->read(reinterpret_cast<char*>(piece.data()), static_cast<std::streamsize>(most));
        if (file->bad()) {
            throw RequestError(ErrorCode::unavailable, "the file cannot be read to its end");
        }
        piece.resize(static_cast<std::size_t>(file->gcount()));
        return piece;
    };
}

// All of the bytes, as a stream.
inline Pieces piecesOf(Bytes all) {
    return [bytes = std::move(all), at = std::size_t{0}](std::size_t most) mutable {
        const std::size_t from = std::exchange(at, std::min(at + most, bytes.size()));
        return Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(from),
                     bytes.begin() + static_cast<std::ptrdiff_t>(at));
    };
}

struct Method {
    const char* name;
    // Throws RequestError; MessageError and UsageError for parameters that are wrong; vset::SetError when the set
    // cannot do it.
    Reply (*run)(const Field& params);
    bool needsSet = false;  // the set is switched on for it
};

// The parts of the table.
std::vector<Method> callMethods();     // call, act, check
std::vector<Method> imageMethods();    // images of the boot environment
std::vector<Method> lookMethods();     // what a set shows, and what the agent is
std::vector<Method> setMethods();      // the set as a whole: power, backup
std::vector<Method> storageMethods();  // files, partitions

// Null when there is none.
const Method* findMethod(const std::string& name);

}  // namespace tool

#endif
