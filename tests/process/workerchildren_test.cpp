// Finding and ending the programs that worker threads run.

#include "process/workerchildren.h"

#include "support/filetext.h"
#include "support/tempfolder.h"
#include "support/waitfor.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include <spawn.h>
#include <sys/wait.h>

namespace
{
/// A shell command that a worker runs, which begins with a file and ends only when it is ended.
class EndlessWork
{
public:
    explicit EndlessWork(const std::string& Before)
        : Worker(
              [this, Before]
              {
                  const std::string command = Before + "(" + Before + ": > '" + Begun.native() +
                                              "'; while :; do /bin/sleep 0.02; done); exit 3";
                  Status = std::system(command.c_str()); // NOLINT(concurrency-mt-unsafe)
              })
    {
        EXPECT_TRUE(WaitFor([this] { return std::filesystem::exists(Begun); }));
    }
    ~EndlessWork()
    {
        WorkerChildren all;
        all.Kill();
        Join();
    }
    EndlessWork(const EndlessWork&) = delete;
    EndlessWork& operator=(const EndlessWork&) = delete;

    void Join()
    {
        if (Worker.joinable())
        {
            Worker.join();
        }
    }

private:
    TempFolder Folder;
    std::filesystem::path Begun = Folder.Path() / "begun";
    int Status = 0;
    std::thread Worker;
};
} // namespace

TEST(WorkerChildren, EndsWhatAWorkerRunsWithAllThatIsBelow)
{
    EndlessWork work("");
    WorkerChildren children;
    children.Collect();
    EXPECT_FALSE(children.IsEmpty());
    EXPECT_TRUE(children.IsRunning());
    children.Signal(SIGTERM);
    work.Join();
    EXPECT_TRUE(WaitFor([&] { return !children.IsRunning(); }));
}

TEST(WorkerChildren, KillsWhatDoesNotListen)
{
    EndlessWork work("trap '' TERM; ");
    WorkerChildren children;
    children.Collect();
    children.Signal(SIGTERM);
    children.Kill();
    work.Join();
    EXPECT_TRUE(WaitFor([&] { return !children.IsRunning(); }));
}

TEST(WorkerChildren, AreNotWhatTheMainThreadHasStarted)
{
    pid_t pid = 0;
    const char* const arguments[] = {"/bin/sleep", "60", nullptr};
    ASSERT_EQ(
        posix_spawn(&pid, "/bin/sleep", nullptr, nullptr, const_cast<char**>(arguments), environ),
        0);
    WorkerChildren children;
    children.Collect();
    EXPECT_TRUE(children.IsEmpty());
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
}
