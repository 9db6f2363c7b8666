// Preload library: gives ptys the modem lines that they lack, so that programs written for serial
// ports run on them. Load it into every process that opens the pty, wineserver too.
//
// The kernel is always asked first. Only when it does not know the request, and only for the slave
// of a pty, does this library answer: DSR, CTS and CD are on, DTR and RTS are what was last set.
// Their state is in the record of LinesFile.h below ZO_RIG_DIR, and so is one for all
// processes; a pty without a record takes every change and remembers none. Nothing is allocated
// and nothing is cached: any thread may call at any time.

#include "LinesFile.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <linux/serial.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace {

constexpr int AlwaysOn = TIOCM_DSR | TIOCM_CTS | TIOCM_CAR;
constexpr int BaudBase = 4000000;
constexpr unsigned FirstPtySlaveMajor = 136;
constexpr unsigned LastPtySlaveMajor = 143;
constexpr std::size_t MostFolder = 3900;

char rigFolder[MostFolder + 1]; // empty without ZO_RIG_DIR

__attribute__((constructor)) void ReadRigFolder() {
    const char* folder = std::getenv("ZO_RIG_DIR");
    if (folder && std::strlen(folder) <= MostFolder)
        std::memcpy(rigFolder, folder, std::strlen(folder) + 1);
}

class LinesRecord {
public:
    explicit LinesRecord(unsigned pty) {
        if (rigFolder[0] == '\0')
            return;
        char path[MostFolder + 64];
        std::snprintf(path, sizeof path, "%s/%s/%s%u", rigFolder, LinesFolder, LinesPrefix, pty);
        m_File = open(path, O_RDWR | O_CLOEXEC);
    }
    ~LinesRecord() {
        if (m_File >= 0)
            close(m_File);
    }
    LinesRecord(const LinesRecord&) = delete;
    LinesRecord& operator=(const LinesRecord&) = delete;

    int Read() const {
        char text[LinesLength];
        if (pread(m_File, text, sizeof text, 0) != static_cast<ssize_t>(sizeof text))
            return 0;
        return (text[DtrPlace] == '1' ? TIOCM_DTR : 0) | (text[RtsPlace] == '1' ? TIOCM_RTS : 0);
    }

    void Change(int lines, bool on) const {
        if (lines & TIOCM_DTR)
            Put(DtrPlace, on);
        if (lines & TIOCM_RTS)
            Put(RtsPlace, on);
    }

private:
    void Put(std::size_t place, bool on) const {
        const char digit = on ? '1' : '0';
        // A missing record means a pulled device: there is no line to set any more.
        [[maybe_unused]] const ssize_t put =
            pwrite(m_File, &digit, sizeof digit, static_cast<off_t>(place));
    }

    int m_File = -1;
};

// The N of /dev/pts/N; false for anything but the slave of a pty.
bool PtyNumber(int fd, unsigned& number) {
    struct stat status;
    if (fstat(fd, &status) != 0 || !S_ISCHR(status.st_mode))
        return false;
    const unsigned kind = major(status.st_rdev);
    number = minor(status.st_rdev);
    return kind >= FirstPtySlaveMajor && kind <= LastPtySlaveMajor;
}

// A pty has no counters of its own; its lines never change by themselves.
void AnswerCounters(void* argument) {
    std::memset(argument, 0, sizeof(serial_icounter_struct));
}

void AnswerTransmitter(int fd, void* argument) {
    int queued = 0;
    const long asked = syscall(SYS_ioctl, fd, TIOCOUTQ, &queued);
    *static_cast<unsigned*>(argument) = asked == 0 && queued == 0 ? TIOCSER_TEMT : 0;
}

// Enough for a program that sets a rate outside the standard ones.
void AnswerSettings(void* argument) {
    std::memset(argument, 0, sizeof(serial_struct));
    static_cast<serial_struct*>(argument)->baud_base = BaudBase;
}

void Answer(int fd, unsigned pty, unsigned long request, void* argument) {
    switch (request) {
    case TIOCGICOUNT: AnswerCounters(argument); return;
    case TIOCSERGETLSR: AnswerTransmitter(fd, argument); return;
    case TIOCGSERIAL: AnswerSettings(argument); return;
    case TIOCSSERIAL: return;
    }
    int& lines = *static_cast<int*>(argument);
    const LinesRecord record(pty);
    switch (request) {
    case TIOCMGET: lines = AlwaysOn | record.Read(); return;
    case TIOCMBIS: record.Change(lines, true); return;
    case TIOCMBIC: record.Change(lines, false); return;
    case TIOCMSET:
        record.Change(lines, true);
        record.Change(~lines, false);
        return;
    }
}

bool IsOurs(unsigned long request) {
    switch (request) {
    case TIOCMGET:
    case TIOCMSET:
    case TIOCMBIS:
    case TIOCMBIC:
    case TIOCGICOUNT:
    case TIOCSERGETLSR:
    case TIOCGSERIAL:
    case TIOCSSERIAL: return true;
    default: return false;
    }
}

} // namespace

extern "C" __attribute__((visibility("default"))) int ioctl(int fd, unsigned long request,
                                                            ...) noexcept {
    std::va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);

    const int before = errno;
    const int result = static_cast<int>(syscall(SYS_ioctl, fd, request, argument));
    if (result != -1 || !IsOurs(request) || (errno != ENOTTY && errno != EINVAL) || !argument)
        return result;
    const int refusal = errno;
    unsigned pty = 0;
    if (!PtyNumber(fd, pty)) {
        errno = refusal;
        return -1;
    }
    Answer(fd, pty, request, argument);
    errno = before;
    return 0;
}
