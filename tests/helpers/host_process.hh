// Runs one of the host programs of tests/hosts in a folder of its own.
#ifndef ZT_TESTS_HOST_PROCESS_HH
#define ZT_TESTS_HOST_PROCESS_HH

#include "core/ztversion.h"
#include "tests/helpers/temp_folder.hh"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

class HostProcess {
 public:
  // The exit status; 128 and the signal's number more when a signal ended the host.
  int run(const std::string &name, const std::vector<std::string> &arguments = {}) {
    return runProgram(ZT_HOSTS_FOLDER "/host_" + name, arguments);
  }

  // The same of a program with this path.
  int runProgram(const std::string &program, const std::vector<std::string> &arguments) {
    const std::string printed = outside.path("stdout");
    const std::string told = outside.path("stderr");
    std::vector<char *> argv{const_cast<char *>(program.c_str())};
    for (const std::string &argument : arguments) argv.push_back(const_cast<char *>(argument.c_str()));
    argv.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
      const int fd = open(printed.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600);
      if (fd < 0 || dup2(fd, STDOUT_FILENO) < 0 || chdir(folder.path().c_str()) != 0) _exit(126);
      close(fd);
      if (keepsErrors && freopen(told.c_str(), "w", stderr) == nullptr) _exit(126);
      execv(argv[0], argv.data());
      _exit(127);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }

  std::string output() const {
    return contentsOf(outside.path("stdout"));
  }
  // Of a host whose errors are kept.
  std::string errors() const {
    return contentsOf(outside.path("stderr"));
  }
  std::string log() const {
    return contentsOf(folder.path("zentova.log"));
  }

  const TempFolder folder;   // where the host runs
  bool keepsErrors = false;  // what it prints to standard error is not the test's own

 private:
  const TempFolder outside;  // what the host must not meet
};

// What the library itself says in a host's life.
inline const std::string loading = "Zentova - Loading library: ztcore\n";
inline const std::string banner = "# Zentova OOP Engine started - Version " ZT_VERSION
                                  "\n"
                                  "# An object engine for procedural programs\n"
                                  "# Running Release Version\n\n";
inline const std::string freeing = "Zentova - Freeing library: ztcore\n";
inline const std::string cleaning = "Cleaning up the system...\n";
inline const std::string cleaned = "Cleaning done\n";
inline const std::string ending = freeing + cleaning + cleaned;

inline std::string notInstalled(const std::string &name) {
  return "ztOOP::ztNewFromName - Error, class '" + name + "' not installed\n";
}

#endif
