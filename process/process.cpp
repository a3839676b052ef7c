// Waiting for processes, and changing the user.
#include <nodetree/process.h>

#include "log/report.hpp"
#include "shared/descriptor.hpp"

#include <cstring>
#include <pwd.h>
#include <sys/wait.h>

using namespace nodetree;

int process_interpret_status(int status) {
  constexpr int signal_bits = 0x7f;
  constexpr int core_dumped = 0x80;
  const int signal = status & signal_bits;
  if (signal == 0)
    return (status >> 8) & 0xff;
  if ((status & 0xffff) <= (core_dumped | signal_bits))
    return -signal;
  return -256;
}

int process_wait(pid_t pid) {
  // For waitpid() these mean any child or a process group.
  if (pid <= 0)
    return -257;
  int status;
  if (uninterrupted([&] { return waitpid(pid, &status, 0); }) != pid)
    return -258;
  return process_interpret_status(status);
}

bool process_drop_privilege(const char *user) {
  if (!user)
    user = "nobody";
  if (getuid() != 0 || strcmp(user, "root") == 0)
    return true;
  errno = 0;
  const passwd *entry = getpwnam(user);
  if (!entry) {
    if (errno == 0)
      errno = ENOENT;
    NODETREE_DEBUG("Could not find uid/gid of user %s. Continuing as root.", user);
    return false;
  }
  const uid_t uid = entry->pw_uid;
  const gid_t gid = entry->pw_gid;
  // The group first: only root can change it.
  if (setgid(gid) == -1) {
    NODETREE_DEBUG("Failed to change to user %s's gid %d: %m", user, static_cast<int>(gid));
    return false;
  }
  if (setuid(uid) == -1) {
    NODETREE_DEBUG("Failed to change to user %s's uid %d: %m", user, static_cast<int>(uid));
    return false;
  }
  NODETREE_DEBUG("Changed to uid=%d gid=%d", static_cast<int>(uid), static_cast<int>(gid));
  return true;
}
