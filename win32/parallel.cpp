#include "win32/parallel.h"

#include <windows.h>

#include <algorithm>
#include <exception>
#include <vector>

namespace lumo::win32 {

namespace {

// More threads than this buy nothing for the walks over memory they run.
constexpr std::size_t kMostThreads = 8;

struct Job {
  const std::function<void(std::size_t)>* part;
  std::size_t index;
  std::exception_ptr error;

  void operator()() {
    try {
      (*part)(index);
    } catch (...) {
      error = std::current_exception();
    }
  }
};

DWORD WINAPI runJob(void* param) {
  (*static_cast<Job*>(param))();
  return 0;
}

}  // namespace

ThreadParallel::ThreadParallel(std::size_t width) {
  if (width == 0) {
    SYSTEM_INFO info{};
    GetSystemInfo(&info);
    width = info.dwNumberOfProcessors;
  }
  width_ = std::clamp<std::size_t>(width, 1, kMostThreads);
}

void ThreadParallel::run(std::size_t parts, const std::function<void(std::size_t)>& part) const {
  if (parts == 0) return;
  std::vector<Job> jobs(parts);
  std::vector<HANDLE> threads;
  std::vector<std::size_t> here = {0};
  threads.reserve(parts);
  jobs[0] = Job{&part, 0, nullptr};
  for (std::size_t p = 1; p < parts; ++p) {
    jobs[p] = Job{&part, p, nullptr};
    HANDLE thread = threads.size() < MAXIMUM_WAIT_OBJECTS ? CreateThread(nullptr, 0, runJob, &jobs[p], 0, nullptr)
                                                          : nullptr;
    if (thread) threads.push_back(thread);
    else here.push_back(p);
  }
  for (std::size_t p : here) jobs[p]();
  if (!threads.empty()) WaitForMultipleObjects(static_cast<DWORD>(threads.size()), threads.data(), TRUE, INFINITE);
  for (HANDLE thread : threads) CloseHandle(thread);
  // Every part has ended, whatever happened in one: the first failure goes on
  // to the caller.
  for (const Job& job : jobs)
    if (job.error) std::rethrow_exception(job.error);
}

}  // namespace lumo::win32
