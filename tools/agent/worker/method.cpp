// SPDX-License-Identifier: Apache-2.0
// All methods by name.
#include "worker/method.h"

#include <map>
#include <string>

namespace tool {

const Method* findMethod(const std::string& name) {
    static const std::map<std::string, Method> all = [] {
        std::map<std::string, Method> methods;
        for (const std::vector<Method>& some :
             {callMethods(), imageMethods(), lookMethods(), setMethods(), storageMethods()}) {
            for (const Method& method : some) {
                methods.emplace(method.name, method);
            }
        }
        return methods;
    }();
    const auto found = all.find(name);
    return found != all.end() ? &found->second : nullptr;
}

}  // namespace tool
