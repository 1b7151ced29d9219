// Preloaded, interrupts the programs of this project by SIGALRM every millisecond, so that their calls of the system
// end with EINTR again and again. Others, which may not be made for that, have no capital in their names. The timer
// doesn't outlive an exec, and a child of a fork has none.

#include <errno.h>
#include <signal.h>
#include <string.h>
#include <time.h>

namespace {

struct Alarms {
    Alarms() {
        if (!strpbrk(program_invocation_short_name, "ABCDEFGHIJKLMNOPQRSTUVWXYZ")) {
            return;
        }
        struct sigaction action = {};
        action.sa_handler = [](int) {};  // without SA_RESTART
        sigaction(SIGALRM, &action, nullptr);
        sigevent event = {};
        event.sigev_notify = SIGEV_SIGNAL;
        event.sigev_signo = SIGALRM;
        timer_t timer;
        const itimerspec millisecond = {{0, 1000000}, {0, 1000000}};
        if (timer_create(CLOCK_MONOTONIC, &event, &timer) == 0) {
            timer_settime(timer, 0, &millisecond, nullptr);
        }
    }
} alarms;

}  // namespace
