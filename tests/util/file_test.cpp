// The wrapped system calls on files.
#include "util/file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <utility>

#include "support/temp_dir.h"

namespace {

using namespace kzfi_pdk_4_4;
using kzfi_tests::readFile;
using kzfi_tests::TempDir;
using kzfi_tests::writeFile;

struct Pipe {
    explicit Pipe(int flags = 0) {
        int ends[2];
        EXPECT_EQ(0, pipe2(ends, O_CLOEXEC | flags));
        reader = FileDescriptor(ends[0]);
        writer = FileDescriptor(ends[1]);
    }

    // Fills it; gives how much it took.
    std::size_t fill() const {
        fcntl(writer.get(), F_SETFL, O_NONBLOCK);
        const std::string block(4096, 'x');
        std::size_t size = 0;
        while (::write(writer.get(), block.data(), block.size()) > 0) {
            size += block.size();
        }
        fcntl(writer.get(), F_SETFL, 0);
        return size;
    }

    FileDescriptor reader;
    FileDescriptor writer;
};

// While one lives a signal interrupts the process's system calls every few milliseconds. At the
// third it does what lets the waiting call end.
class Interruptions {
  public:
    explicit Interruptions(void (*rescue)()) {
        count = 0;
        action = rescue;
        struct sigaction handler = {};
        handler.sa_handler = &Interruptions::interrupt;
        sigaction(SIGALRM, &handler, &before);
        const itimerval often = {{0, 5000}, {0, 5000}};
        setitimer(ITIMER_REAL, &often, nullptr);
    }
    Interruptions(const Interruptions&) = delete;
    Interruptions& operator=(const Interruptions&) = delete;
    ~Interruptions() {
        const itimerval never = {};
        setitimer(ITIMER_REAL, &never, nullptr);
        sigaction(SIGALRM, &before, nullptr);
    }

    static int happened() { return count; }

  private:
    static void interrupt(int) {
        const int error = errno;
        if (++count == 3) {
            action();
        }
        errno = error;
    }

    static volatile sig_atomic_t count;
    static void (*action)();
    struct sigaction before;
};

volatile sig_atomic_t Interruptions::count = 0;
void (*Interruptions::action)() = nullptr;

// What the signal handler works on.
int otherEnd = -1;
const char* fifoPath = nullptr;

bool isClosed(int number) {
    return fcntl(number, F_GETFD) == -1 && errno == EBADF;
}

bool closesOnExec(const FileDescriptor& file) {
    return (fcntl(file.get(), F_GETFD) & FD_CLOEXEC) != 0;
}

class File : public testing::Test {
  protected:
    TempDir dir;
    const std::string path = dir.path("file");
};

// ---- The descriptor's owner ----

TEST_F(File, ClosesItsDescriptorOnce) {
    Pipe pipe;
    const int number = pipe.writer.get();
    EXPECT_TRUE(pipe.writer.isOpen());
    EXPECT_TRUE(pipe.writer.close());
    EXPECT_TRUE(isClosed(number));
    EXPECT_FALSE(pipe.writer.isOpen());
    EXPECT_EQ(-1, pipe.writer.get());
    EXPECT_TRUE(pipe.writer.close());
}

TEST_F(File, TellsOfADescriptorThatCannotBeClosed) {
    const int number = Pipe().reader.get();
    ASSERT_TRUE(isClosed(number));
    FileDescriptor file(number);
    EXPECT_FALSE(file.close());
    EXPECT_FALSE(file.isOpen());
}

TEST_F(File, PassesItsDescriptorOn) {
    Pipe pipe;
    const int number = pipe.reader.get();
    const int other = pipe.writer.get();
    {
        FileDescriptor taken(std::move(pipe.reader));
        EXPECT_EQ(-1, pipe.reader.get());
        EXPECT_EQ(number, taken.get());
        taken = std::move(pipe.writer);
        EXPECT_TRUE(isClosed(number));
        EXPECT_EQ(other, taken.get());
        FileDescriptor& same = taken;
        taken = std::move(same);
        EXPECT_EQ(other, taken.get());
        EXPECT_FALSE(isClosed(other));
    }
    EXPECT_TRUE(isClosed(other));
}

// ---- Opening ----

TEST_F(File, OpensCloseOnExec) {
    writeFile(path, "text");
    const FileDescriptor file = openFile(path.c_str(), O_RDONLY);
    ASSERT_TRUE(file.isOpen());
    EXPECT_TRUE(closesOnExec(file));
}

TEST_F(File, MakesFilesWithTheMode) {
    const FileDescriptor file = openFile(path.c_str(), O_WRONLY | O_CREAT, 0600);
    struct stat status;
    ASSERT_EQ(0, fstat(file.get(), &status));
    EXPECT_EQ(0600u, status.st_mode & 07777u);
}

TEST_F(File, LeavesTheErrorOfAFailedOpen) {
    const FileDescriptor file = openFile(path.c_str(), O_RDONLY);
    EXPECT_EQ(ENOENT, errno);
    EXPECT_FALSE(file.isOpen());
}

TEST_F(File, GoesOnOpeningAfterInterruptions) {
    ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
    fifoPath = path.c_str();
    const Interruptions interruptions([] { otherEnd = ::open(fifoPath, O_RDWR | O_NONBLOCK); });
    const FileDescriptor file = openFile(path.c_str(), O_RDONLY);
    EXPECT_TRUE(file.isOpen());
    EXPECT_GE(Interruptions::happened(), 3);
    const FileDescriptor rescuer(otherEnd);
}

// ---- Reading ----

TEST_F(File, ReadsWhatThereIs) {
    Pipe pipe;
    ASSERT_EQ(3, ::write(pipe.writer.get(), "abc", 3));
    char buffer[10] = {};
    EXPECT_EQ(2, readSome(pipe.reader, buffer, 2));
    EXPECT_STREQ("ab", buffer);
    EXPECT_EQ(1, readSome(pipe.reader, buffer, sizeof buffer));
    EXPECT_EQ('c', buffer[0]);
    pipe.writer.close();
    EXPECT_EQ(0, readSome(pipe.reader, buffer, sizeof buffer));
    EXPECT_EQ(-1, readSome(FileDescriptor(), buffer, sizeof buffer));
    EXPECT_EQ(EBADF, errno);
}

TEST_F(File, GoesOnReadingAfterInterruptions) {
    const Pipe pipe;
    otherEnd = pipe.writer.get();
    const Interruptions interruptions([] { (void)!::write(otherEnd, "x", 1); });
    char buffer[10] = {};
    EXPECT_EQ(1, readSome(pipe.reader, buffer, sizeof buffer));
    EXPECT_EQ('x', buffer[0]);
    EXPECT_GE(Interruptions::happened(), 3);
}

TEST_F(File, ReadsRegularFilesWhole) {
    for (const std::size_t size : {0, 1, 4096, 300000}) {
        const std::string text(size, 'x');
        writeFile(path, text + "\n");
        EXPECT_EQ(text + "\n", readRegular(openFile(path.c_str(), O_RDONLY)));
    }
    writeFile(path, "");
    EXPECT_EQ("", readRegular(openFile(path.c_str(), O_RDONLY)));
}

TEST_F(File, ReadsNothingButRegularFiles) {
    EXPECT_EQ("", readRegular(openFile(dir.path().c_str(), O_RDONLY)));
    EXPECT_EQ("", readRegular(openFile("/dev/zero", O_RDONLY)));
    EXPECT_EQ("", readRegular(FileDescriptor()));
    const Pipe pipe;
    ASSERT_EQ(1, ::write(pipe.writer.get(), "x", 1));
    EXPECT_EQ("", readRegular(pipe.reader));
    char left = ' ';
    EXPECT_EQ(1, readSome(pipe.reader, &left, 1));
    EXPECT_EQ('x', left);
}

TEST_F(File, ReadsNothingFromAFileOpenForWriting) {
    writeFile(path, "text");
    EXPECT_EQ("", readRegular(openFile(path.c_str(), O_WRONLY)));
}

// ---- Appending ----

TEST_F(File, AppendsAndReads) {
    writeFile(path, "first\n");
    const FileDescriptor file = openForAppending(path.c_str(), true);
    EXPECT_TRUE(closesOnExec(file));
    EXPECT_TRUE(writeOnce(file, "second\n", 7));
    EXPECT_EQ("first\nsecond\n", readFile(path));
    EXPECT_EQ(0, lseek(file.get(), 0, SEEK_SET));
    EXPECT_EQ("first\nsecond\n", readRegular(file));
}

TEST_F(File, MakesTheFileToAppendToUnderTheUmask) {
    const mode_t before = umask(027);
    const FileDescriptor file = openForAppending(path.c_str(), false);
    umask(before);
    struct stat status;
    ASSERT_EQ(0, fstat(file.get(), &status));
    EXPECT_EQ(0640u, status.st_mode & 07777u);
}

TEST_F(File, FollowsLinksOnDemand) {
    writeFile(path, "");
    const std::string link = dir.path("link");
    ASSERT_EQ(0, symlink(path.c_str(), link.c_str()));
    const FileDescriptor refused = openForAppending(link.c_str(), false);
    EXPECT_EQ(ELOOP, errno);
    EXPECT_FALSE(refused.isOpen());
    EXPECT_TRUE(openForAppending(link.c_str(), true).isOpen());
}

TEST_F(File, DoesNotWaitForAPipesReader) {
    ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
    EXPECT_TRUE(openForAppending(path.c_str(), false).isOpen());
}

// ---- Writing ----

TEST_F(File, TellsOfAFailedWrite) {
    writeFile(path, "text");
    EXPECT_FALSE(writeOnce(openFile(path.c_str(), O_RDONLY), "x", 1));
    EXPECT_FALSE(writeOnce(FileDescriptor(), "x", 1));
    EXPECT_EQ("text", readFile(path));
}

TEST_F(File, TellsOfAWriteThatFellShort) {
    const Pipe pipe(O_NONBLOCK);
    const std::string tooMuch(1 << 20, 'x');
    EXPECT_FALSE(writeOnce(pipe.writer, tooMuch.data(), tooMuch.size()));
    char first = ' ';
    EXPECT_EQ(1, readSome(pipe.reader, &first, 1));
    EXPECT_EQ('x', first);
}

TEST_F(File, GoesOnWritingAfterInterruptions) {
    const Pipe pipe;
    EXPECT_GT(pipe.fill(), 0u);
    otherEnd = pipe.reader.get();
    const Interruptions interruptions([] {
        static char buffer[8192];
        (void)!::read(otherEnd, buffer, sizeof buffer);
    });
    EXPECT_TRUE(writeOnce(pipe.writer, "y", 1));
    EXPECT_GE(Interruptions::happened(), 3);
}

} // namespace
