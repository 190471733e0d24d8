// SPDX-License-Identifier: Apache-2.0
// A PostgreSQL server of a test's own, in a folder of its own, reached by a UNIX socket there.
#ifndef TESTS_SUPPORT_POSTGRES_SERVER_H
#define TESTS_SUPPORT_POSTGRES_SERVER_H

#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include "support/process.h"
#include "support/waiting.h"

namespace test {

class PostgresServer {
public:
    // The folder must exist, and is the server's from now on.
    explicit PostgresServer(std::string folder) : _folder(std::move(folder)) {
        // The server refuses to be root's.
        if (const passwd* nobody = geteuid() == 0 ? getpwnam("nobody") : nullptr) {
            EXPECT_EQ(chown(_folder.c_str(), nobody->pw_uid, nobody->pw_gid), 0);
            _prefix = {"runuser", "-u", "nobody", "--"};
        }
        const ProcessResult made =
            run("initdb", {"-N", "-A", "trust", "-U", "bench", "-E", "UTF8", "--locale=C", "-D", data()});
        EXPECT_EQ(made.s32Exit, 0) << made.strError;
        std::ofstream(data() + "/postgresql.conf", std::ios::app)
            << "listen_addresses = ''\nunix_socket_directories = '" << _folder << "'\nfsync = off\n"
            << "shared_buffers = 32MB\nmax_connections = 30\n";
        start();
        EXPECT_EQ(query("create database results", "postgres").s32Exit, 0);
    }
    ~PostgresServer() { stop("immediate"); }
    PostgresServer(const PostgresServer&) = delete;
    PostgresServer& operator=(const PostgresServer&) = delete;

    // After a kill it may take some tries until the processes of before are gone.
    void start() {
        const bool isUp = eventually(
            [&] {
                return run("pg_ctl", {"-D", data(), "-l", _folder + "/log", "-w", "start"}).s32Exit == 0;
            },
            60s);
        ASSERT_TRUE(isUp);
    }
    void stop(const std::string& mode) { run("pg_ctl", {"-D", data(), "-m", mode, "-w", "stop"}); }
    void kill() {
        std::ifstream file(data() + "/postmaster.pid");
        pid_t process = 0;
        file >> process;
        ASSERT_GT(process, 1);
        ::kill(process, SIGKILL);
    }

    std::string address() const { return "postgresql:///results?host=" + _folder + "&user=bench"; }
    // What psql prints, without titles.
    ProcessResult query(const std::string& text, const std::string& database = "results") const {
        return run("psql", {"-X", "-A", "-t", "-q", "-h", _folder, "-U", "bench", "-d", database, "-c", text});
    }
    // The one number that the query finds.
    long long number(const std::string& text) const {
        const ProcessResult result = query(text);
        EXPECT_EQ(result.s32Exit, 0) << result.strError;
        return std::atoll(result.strOutput.c_str());
    }

private:
    std::string data() const { return _folder + "/data"; }
    ProcessResult run(const std::string& program, const std::vector<std::string>& words) const {
        std::vector<std::string> command = _prefix;
        command.push_back(binaries() + program);
        command.insert(command.end(), words.begin(), words.end());
        return runProcess(command);
    }
    // Debian has a folder for each version.
    static std::string binaries() {
        for (const auto& entry : std::filesystem::directory_iterator("/usr/lib/postgresql")) {
            return entry.path().string() + "/bin/";
        }
        return "";
    }

    const std::string _folder;
    std::vector<std::string> _prefix;
};

}  // namespace test

#endif
