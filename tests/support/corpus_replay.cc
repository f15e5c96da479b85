// Corpus replay in a child process with a time limit.
#include "support/corpus_replay.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iterator>
#include <thread>

namespace quillbox::testing {

std::vector<std::filesystem::path> CorpusFiles(std::initializer_list<const char*> folders) {
  std::vector<std::filesystem::path> files;
  for (const char* dir : folders) {
    const std::filesystem::path folder = std::filesystem::path(QUILLBOX_SOURCE_DIR) / dir;
    if (!std::filesystem::is_directory(folder)) continue;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      if (entry.is_regular_file() && entry.path().filename().string()[0] != '.') files.push_back(entry.path());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::string ReplayInChild(const std::filesystem::path& file, FuzzWalk walk, std::chrono::seconds limit) {
  std::ifstream in(file, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  const pid_t child = fork();
  if (child < 0) return "fork failed";
  if (child == 0) {
    walk(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    _exit(0);
  }
  const auto deadline = std::chrono::steady_clock::now() + limit;
  int status = 0;
  while (waitpid(child, &status, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() > deadline) {
      kill(child, SIGKILL);
      waitpid(child, &status, 0);
      return "hung (more than " + std::to_string(limit.count()) + " s)";
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return "";
  return WIFSIGNALED(status) ? "crashed with signal " + std::to_string(WTERMSIG(status))
                             : "failed with exit status " + std::to_string(WEXITSTATUS(status));
}

std::string CorpusTestName(const std::filesystem::path& file, int levels_up) {
  std::filesystem::path folder = file.parent_path();
  for (int i = 1; i < levels_up; ++i) folder = folder.parent_path();
  std::string name = folder.filename().string() + "_" + file.filename().string();
  for (char& c : name) {
    if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
  }
  return name;
}

}  // namespace quillbox::testing
