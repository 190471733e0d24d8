// SPDX-License-Identifier: Apache-2.0
// Sets, their runs and plans, as the page asks for them.
#ifndef FAPI_BENCH_SERVE_SET_PAGES_H
#define FAPI_BENCH_SERVE_SET_PAGES_H

#include <list>

#include "serve/page_json.h"
#include "serve/set_follower.h"
#include "serve/station_work.h"
#include "serve/tool_process.h"

namespace tool {

// Called in several threads.
class SetPages {
public:
    // `words` name the store's folder on a command line.
    SetPages(Board& board, std::vector<ServedSet> sets, Station station, Words words,
             const std::function<void()>& runEnded);

    // Null when the path is none of these.
    using Page = WebAnswer (SetPages::*)(const WebRequest& request);
    static Page looking(const std::string& path);
    static Page changing(const std::string& path);

    // Reaps the processes of runs, and says why one did not begin.
    void tick();

private:
    WebAnswer description(const WebRequest& request);
    WebAnswer picture(const WebRequest& request);
    WebAnswer look(const WebRequest& request);
    WebAnswer plans(const WebRequest& request);
    WebAnswer plan(const WebRequest& request);
    WebAnswer act(const WebRequest& request);
    WebAnswer start(const WebRequest& request);
    WebAnswer stop(const WebRequest& request);
    WebAnswer answer(const WebRequest& request);

    SetFollower& setOf(const std::string& name);
    WebAnswer carryOut(SetFollower& set, const Words& words, bool mayChange, bool isConfirmed);
    WebAnswer carryOutHere(const SetFollower& set, const Action& action, const Words& words);

    struct Started {
        std::string set;
        ToolProcess process;
    };
    Board& _board;
    StationWork _station;
    const Words _words;
    std::vector<std::unique_ptr<SetFollower>> _sets;
    std::mutex _mutex;
    std::list<Started> _started;
};

}  // namespace tool

#endif
