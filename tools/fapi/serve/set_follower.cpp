// SPDX-License-Identifier: Apache-2.0
// One set, as the page follows it.
#include "serve/set_follower.h"

#include <algorithm>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "base/picture.h"
#include "protocol/sha256.h"
#include "serve/page_json.h"
#include "target/picture_source.h"

namespace tool {

namespace {

using Steady = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto kTurn = 200ms;
constexpr auto kFirstRest = 500ms, kLongestRest = 8000ms;
constexpr auto kForAnAnswer = 8s;
constexpr auto kBetweenPictures = 400ms;
constexpr int kShareOfPictures = 4;  // of the time at most one in so many parts is for pictures
constexpr unsigned int kWidth = 960;
constexpr std::size_t kMostCalls = 100;  // of one notification

// Every second pixel of every second line, until it is small enough.
Picture smaller(const Picture& picture) {
    const unsigned int step = (picture.width + kWidth - 1) / kWidth;
    if (step <= 1) {
        return picture;
    }
    Picture small;
    small.width = picture.width / step;
    small.height = picture.height / step;
    small.pixels.reserve(std::size_t{small.width} * small.height);
    for (unsigned int y = 0; y < small.height; ++y) {
        for (unsigned int x = 0; x < small.width; ++x) {
            small.pixels.push_back(picture.at(x * step, y * step));
        }
    }
    return small;
}

}  // namespace

SetFollower::SetFollower(Board& board, ServedSet set, std::function<void()> runEnded)
    : _board(board),
      _set(std::move(set)),
      _runEnded(std::move(runEnded)),
      _stop(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      _wake(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    show();
    _thread = std::thread([this] { follow(); });
}

SetFollower::~SetFollower() {
    _isEnding = true;
    eventfd_write(_stop.get(), 1);
    eventfd_write(_wake.get(), 1);
    _thread.join();
}

std::string SetFollower::description() const {
    const std::lock_guard<std::mutex> lock(_mutex);
    return _description;
}

std::string SetFollower::picture() const {
    const std::lock_guard<std::mutex> lock(_mutex);
    return _picture;
}

std::string SetFollower::pictureWith(const std::string& prompt) const {
    std::string file;
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        const auto found = _pictureFiles.find(prompt);
        file = found == _pictureFiles.end() ? "" : found->second;
    }
    // Who asks has named it: nothing but a picture leaves this server.
    return file.empty() ? "" : pngText(readPng(file));
}

Field SetFollower::ask(const std::string& method, const Field& params) {
    auto asked = std::make_unique<Asked>();
    asked->method = method;
    asked->params = params;
    asked->until = Steady::now() + kForAnAnswer;
    std::future<Field> result = asked->result.get_future();
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        if (!_isUp) {
            throw RequestError(ErrorCode::unavailable, _set.name + ": the set is not in reach");
        }
        _asked.push_back(std::move(asked));
    }
    eventfd_write(_wake.get(), 1);
    if (result.wait_for(kForAnAnswer + kFirstRest) != std::future_status::ready) {
        throw RequestError(ErrorCode::unavailable, _set.name + ": the set is not in reach");
    }
    return result.get();
}

// --- The thread ------------------------------------------------------------------------------------------------------

void SetFollower::follow() {
    auto pause = std::chrono::milliseconds(kFirstRest);
    while (!_isEnding) {
        try {
            followOnce();
            pause = kFirstRest;
        } catch (const std::exception& error) {
            _trouble = error.what();
        }
        if (_run.is_object() && _runner != 0) {
            // Nobody has said how it goes on.
            _run["lost"] = true;
        }
        {
            // Nobody waits for them any more.
            const std::lock_guard<std::mutex> lock(_mutex);
            _isUp = false;
            _asked.clear();
            _sent.clear();
            _pictureFiles.clear();
        }
        _runner = 0;
        _prompts = Json::object();
        _claim = Json();
        show();
        rest(pause);
        pause = std::min<std::chrono::milliseconds>(2 * pause, kLongestRest);
    }
}

void SetFollower::rest(std::chrono::milliseconds time) {
    pollfd entry = {_stop.get(), POLLIN, 0};
    poll(&entry, 1, static_cast<int>(time.count()));
}

void SetFollower::followOnce() {
    TargetOptions options = _set.options;
    options.client = "fapi serve";
    options.isObserver = true;
    options.stop = _stop.get();
    const std::unique_ptr<Target> target = Target::join(options);
    listen(*target);
    followQuestions(*target, _board.isAttended());
    target->request("runs", {{"on", true}});
    const Description all = target->description().all();
    const Field described = toField(all);
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _description = toJsonText(
            {{"actions", described["actions"]}, {"events", described["events"]}, {"pictures", described["pictures"]}});
    }
    _kind = target->hello()["kind"].textOr("");
    _isUp = true;
    _isClose = false;
    _trouble = "";
    target->watch(_wake.get(), [this] {
        eventfd_t count = 0;
        eventfd_read(_wake.get(), &count);
    });
    while (!_isEnding && target->lost().empty()) {
        show();
        if (_board.isAttended() != _isAttended) {
            followQuestions(*target, !_isAttended);
        }
        lookCloser(*target);
        target->pump(kTurn);
        sendRequests(*target);
    }
    _trouble = target->lost();
}

// A run must not wait for nobody: that a question can be answered here holds as long as a page is open.
void SetFollower::followQuestions(Target& target, bool isAttended) {
    const Field open = target.request("prompts", {{"on", true}, {"answers", isAttended}});
    _isAttended = isAttended;
    for (const Field& prompt : open.at("open").list()) {
        takePrompt(prompt);
    }
}

// Sends what pages ask for, and gives them what has been answered.
void SetFollower::sendRequests(Target& target) {
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        for (std::unique_ptr<Asked>& asked : _asked) {
            asked->request = target.begin(asked->method, asked->params);
            _sent.push_back(std::move(asked));
        }
        _asked.clear();
    }
    const auto isOver = [&](const std::unique_ptr<Asked>& asked) {
        if (!target.isFinished(asked->request)) {
            return Steady::now() > asked->until;
        }
        try {
            asked->result.set_value(target.finish(asked->request));
        } catch (const RequestError&) {
            asked->result.set_exception(std::current_exception());
        }
        return true;
    };
    _sent.erase(std::remove_if(_sent.begin(), _sent.end(), isOver), _sent.end());
}

void SetFollower::listen(Target& target) {
    target.listen("progress", [this](const Field& params) { takeProgress(params); });
    target.listen("prompt", [this](const Field& params) { takePrompt(params); });
    target.listen("claim", [this](const Field& params) {
        _claim = params["holder"].isNull() ? Json() : jsonOf(params);
        show();
    });
    target.listen("event", [this](const Field& params) {
        const Event event = parseEvent(params);
        Json told = toJson(event);
        told["said"] = describe(event);
        _board.add(_set.name, "events", std::move(told));
    });
    target.listen("journal", [this](const Field& params) { takeCalls(params); });
    target.listen("log", [this](const Field& params) {
        _board.add(_set.name, "log", std::get<std::string>(params.at("text").value()));
    });
    target.listen("worker", [this](const Field& params) {
        const std::string reason = params["reason"].textOr("");
        _board.add(_set.name, "events",
                   {{"said",
                     "the set's programs have " + params["state"].textOr("") + (reason.empty() ? "" : ": " + reason)}});
        _nextPicture = Steady::now();
    });
}

// Many calls a second are no list that a person reads: the newest are shown.
void SetFollower::takeCalls(const Field& params) {
    const Field::List& calls = params.at("calls").list();
    for (std::size_t i = calls.size() - std::min(calls.size(), kMostCalls); i < calls.size(); ++i) {
        Json call = jsonOf(calls[i]);
        for (const char* name : {"begun", "thread"}) {
            call.erase(name);
        }
        _board.add(_set.name, "journal", std::move(call));
    }
}

void SetFollower::takeProgress(const Field& params) {
    const std::string state = params["run"]["state"].textOr("");
    const bool isGone = params["gone"].flagOr(false), goesOn = state == "running" && !isGone;
    const long long pid = params["pid"].numberOr(0);
    if (isGone && state != "running") {
        return;
    }
    Json run = jsonOf(params["run"]);
    run["pid"] = pid;
    if (isGone) {
        run["state"] = "died";
    }
    _lastRunner = pid;
    _runner = goesOn ? pid : 0;
    _run = std::move(run);
    show();
    if (!goesOn) {
        _runEnded();
    }
}

void SetFollower::takePrompt(const Field& params) {
    const std::string number = std::to_string(params["prompt"].numberOr(0));
    const std::string file = params["shown"].textOr("");
    const bool isOpen = params["state"].textOr("open") != "closed";
    _prompts.erase(number);
    if (isOpen) {
        _prompts[number] = jsonOf(params);
        _prompts[number]["shown"] = !file.empty();
    }
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _pictureFiles.erase(number);
        if (isOpen && !file.empty()) {
            _pictureFiles[number] = file;
        }
    }
    show();
}

// A run that cannot tell how it has ended, since it has lost its set, still has its record.
void SetFollower::takeKeptVerdict() {
    const bool isUntold = _run.is_object() && (_run.value("lost", false) || _run["state"] == "died");
    const Json recent = isUntold ? _board.get("recent") : Json();
    for (const Json& kept : recent) {
        if (kept["id"] == _run["id"]) {
            const char* const state = kept["waiver"].is_null() ? "ended" : "waived";
            _run.update({{"state", state}, {"verdict", kept["verdict"]}, {"why", kept["why"]}, {"lost", false}});
        }
    }
}

void SetFollower::show() {
    takeKeptVerdict();
    Json prompts = Json::array();
    for (const auto& [number, prompt] : _prompts.items()) {
        prompts.push_back(prompt);
    }
    _board.set("set/" + _set.name, {{"name", _set.name},
                                    {"kind", _kind},
                                    {"up", _isUp.load()},
                                    {"trouble", _trouble},
                                    {"claim", _claim},
                                    {"run", _run},
                                    {"prompts", prompts},
                                    {"picture", _pictures}});
}

// Events, journal, log and pictures are for pages that show the set itself.
void SetFollower::lookCloser(Target& target) {
    const bool isWanted = _board.isWanted(_set.name);
    if (isWanted != _isClose) {
        _isClose = isWanted;
        for (const char* kind : {"events", "journal", "log"}) {
            try {
                target.request(kind, {{"on", isWanted}});
            } catch (const RequestError& error) {
                // A board may have no journal.
                if (error.code() == ErrorCode::ended) {
                    throw;
                }
            }
        }
    }
    // Who has the claim without a run works on the set as a whole, which must not be switched on meanwhile.
    const bool mayLook = _runner != 0 || _claim.is_null();
    if (isWanted && mayLook && Steady::now() >= _nextPicture) {
        takePicture(target);
    }
}

void SetFollower::takePicture(Target& target) {
    const Steady::time_point begin = Steady::now();
    try {
        const Picture picture = smaller(tool::takePicture(target, "panel", true));
        Sha256 sum;
        sum.add(picture.pixels.data(), picture.pixels.size() * sizeof(Color));
        if (const std::string digits = sum.sum(); digits != _pictureSum) {
            _pictureSum = digits;
            std::string png = pngText(picture);
            const std::lock_guard<std::mutex> lock(_mutex);
            _picture = std::move(png);
            ++_pictures;
        }
    } catch (const RequestError& error) {
        if (error.code() == ErrorCode::ended) {
            throw;
        }
        // A board shows none, and a set that is off neither.
    } catch (const SetError&) {
    }
    show();
    const auto took = Steady::now() - begin;
    _nextPicture = begin + std::max<Steady::duration>(kBetweenPictures, kShareOfPictures * took);
}

}  // namespace tool
