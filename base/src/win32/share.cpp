// Share records of open files, kept as byte-range locks on the file itself.
#if !defined(_WIN32)

#include "win32/share.h"

#include <cerrno>
#include <cstdint>
#include <fcntl.h>

KELWIN_SYSCALL(fcntl);

namespace kelwin {
namespace {

// The reserved bytes: kRecordBase + 0..2 are held by opens that read, write
// or delete; kRecordBase + 3..5 by opens that do not share reading, writing
// or deleting.
constexpr off_t kRecordBase = INT64_MAX - 0xFF;
constexpr int kRights = 3;

off_t access_byte(int right) {
    return kRecordBase + right;
}
off_t refusal_byte(int right) {
    return kRecordBase + kRights + right;
}

struct flock byte_range(short type, off_t start, off_t length) {
    struct flock range {};
    range.l_type = type;
    range.l_whence = SEEK_SET;
    range.l_start = start;
    range.l_len = length;
    range.l_pid = 0;
    return range;
}

int hold_byte(int fd, off_t byte) {
    struct flock range = byte_range(F_RDLCK, byte, 1);
    return sys_fcntl(fd, F_OFD_SETLK, &range) == 0 ? 0 : errno;
}

void release_all(int fd) {
    struct flock range = byte_range(F_UNLCK, kRecordBase, 2 * kRights);
    sys_fcntl(fd, F_OFD_SETLK, &range);
}

// Whether an open other than fd's holds a record on the byte.
bool held_by_other(int fd, off_t byte) {
    struct flock range = byte_range(F_WRLCK, byte, 1);
    if (sys_fcntl(fd, F_OFD_GETLK, &range) != 0)
        return false;
    return range.l_type != F_UNLCK;
}

// File systems without byte-range locks: sharing is not enforced there.
bool locks_unsupported(int err) {
    return err == EINVAL || err == ENOLCK || err == EOPNOTSUPP;
}

bool conflicts(int fd, unsigned access, unsigned share) {
    for (int right = 0; right < kRights; ++right) {
        const unsigned bit = 1u << right;
        if ((access & bit) && held_by_other(fd, refusal_byte(right)))
            return true;
        if (!(share & bit) && held_by_other(fd, access_byte(right)))
            return true;
    }
    return false;
}

} // namespace

bool share_claim(int lockFd, unsigned access, unsigned share) {
    for (int right = 0; right < kRights; ++right) {
        const unsigned bit = 1u << right;
        int err = 0;
        if (access & bit)
            err = hold_byte(lockFd, access_byte(right));
        if (!err && !(share & bit))
            err = hold_byte(lockFd, refusal_byte(right));
        if (err && locks_unsupported(err)) {
            release_all(lockFd);
            return true;
        }
        if (err) {
            release_all(lockFd);
            fail_errno(err);
            return false;
        }
    }
    if (conflicts(lockFd, access, share)) {
        release_all(lockFd);
        fail(ERROR_SHARING_VIOLATION);
        return false;
    }
    return true;
}

bool share_refused(int fd, unsigned right) {
    for (int index = 0; index < kRights; ++index)
        if ((right & (1u << index)) && held_by_other(fd, refusal_byte(index)))
            return true;
    return false;
}

} // namespace kelwin

#endif // !_WIN32
