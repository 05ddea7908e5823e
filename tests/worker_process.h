#pragma once

#include <cstdlib>
#include <string>
#include <vector>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/host/files/file_descriptor.h"

// One run of host_worker, killed at the end of its life where it still runs.

namespace tarvel {

class WorkerProcess {
 public:
  explicit WorkerProcess(std::vector<std::string> arguments) {
    int input[2];
    int output[2];
    if (::pipe2(input, O_CLOEXEC) != 0 || ::pipe2(output, O_CLOEXEC) != 0) std::abort();
    input_.reset(input[1]);
    output_.reset(output[0]);
    const FileDescriptor childInput(input[0]);
    const FileDescriptor childOutput(output[1]);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    std::string program = TARVEL_HOST_WORKER;
    std::vector<char*> words = {program.data()};
    for (std::string& argument : arguments) words.push_back(argument.data());
    words.push_back(nullptr);
    if (::posix_spawn(&pid_, words[0], &actions, nullptr, words.data(), environ) != 0) std::abort();
    ::posix_spawn_file_actions_destroy(&actions);
  }
  ~WorkerProcess() { kill(); }
  WorkerProcess(const WorkerProcess&) = delete;
  WorkerProcess& operator=(const WorkerProcess&) = delete;

  // What it says next, up to the end of the line.
  std::string line() {
    std::string text;
    for (char c = 0; ::read(output_.get(), &c, 1) == 1 && c != '\n';) text.push_back(c);
    return text;
  }

  // Its exit status, when it has ended; its input ends before.
  int wait() {
    input_.reset();
    int status = 0;
    ::waitpid(std::exchange(pid_, 0), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  void kill() {
    if (pid_ == 0) return;
    ::kill(pid_, SIGKILL);
    wait();
  }

 private:
  pid_t pid_ = 0;
  FileDescriptor input_;
  FileDescriptor output_;
};

}  // namespace tarvel
