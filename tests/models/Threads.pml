/* What the models have in common: threads, the system's sleep and wake-up, and a fork.
 *
 * Every step is one operation on memory that threads share, and spin tries all orders of them. That is a sequentially
 * consistent machine; each model says which operations of the code make the real one as good.
 *
 * Threads 0 to FORKER - 1 exist in the parent only, FORKER forks, those above start in the child. After a fork that
 * goes on in the child, memory is as it was, and the parent's threads stand still for ever.
 */

byte gSleepsOn[THREADS];    /* 0: awake */
bool gIsDone[THREADS];
bool gIsChild = false;

/* Of a thread's own process: Watch is number 0. */
#define me (_pid - 1)
#ifndef EXISTS
#define EXISTS(thread) (gIsChild -> thread >= FORKER : thread <= FORKER)
#endif

/* std::mutex, which is taken to be right. */
inline Lock(mutex)
{
    atomic { !mutex -> mutex = true }
}

/* std::atomic::wait: the comparison and the falling asleep are one step of the kernel. */
inline Wait(variable, old, address)
{
    do
    :: atomic { variable != old -> break }
    :: atomic { variable == old -> gSleepsOn[me] = address }
       gSleepsOn[me] == 0
    od
}

#define WAKE(thread, address) gSleepsOn[thread] = (gSleepsOn[thread] == address -> 0 : gSleepsOn[thread])

inline NotifyOne(address)
{
    atomic
    {
        if
        :: gSleepsOn[0] == address -> gSleepsOn[0] = 0
        :: gSleepsOn[1] == address -> gSleepsOn[1] = 0
        :: gSleepsOn[2] == address -> gSleepsOn[2] = 0
        :: gSleepsOn[THREADS - 1] == address -> gSleepsOn[THREADS - 1] = 0
        :: else
        fi
    }
}

inline NotifyAll(address)
{
    d_step
    {
        WAKE(0, address);
        WAKE(1, address);
        WAKE(2, address);
        WAKE(THREADS - 1, address)
    }
}

/* The process is copied. The search goes on in the child; another one of its branches goes on in the parent. */
inline BecomeChild()
{
    d_step
    {
        gIsChild = true;
        gSleepsOn[0] = 0;
        gSleepsOn[1] = 0;
        gSleepsOn[2] = 0;
        gSleepsOn[THREADS - 1] = 0
    }
}

/* Nobody can go on. Whoever has not come to its end waits for a wake-up that was lost, or for a lock that nobody has. */
active proctype Watch()
{
    byte thread;
    timeout ->
    for (thread : 0 .. THREADS - 1) { assert(gIsDone[thread] || !EXISTS(thread)) }
}
