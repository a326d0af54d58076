/* The hazard pointers of src/routing/Loan.h: a loan of a published object, and what its replacement does.
 *
 * Shown for 3 threads, of which one replaces the object and may fork, on places that the borrowers share:
 *   - nobody uses an object that has been destroyed, or another object at the same address;
 *   - no object is released more often than referenced, and none is left over in the parent;
 *   - in the child of a fork nothing is destroyed that a thread of the parent had on loan, and the child goes on.
 *
 * Borrow and GiveBack are Loan's constructor and destructor, Replace is Lendable::Exchange and the end of Replaced,
 * HandOver and ForgetOtherThreads are the functions of these names. A thread that finds no free place counts the object
 * under the readers-writer lock under which objects are replaced. That lock is taken to be right (RWLock.pml); it is
 * held around a fork. Objects are known by their addresses, and a new one may have the address of one that was
 * destroyed.
 *
 * Memory order: a borrower writes its place and then reads the published pointer, whoever replaces that pointer writes
 * it and then reads the places. In the code these four are sequentially consistent, as they are here. What a place
 * holds is changed by exchanges only, so that a reference is there before the word about it, and a use is over before
 * a place is seen to be free. Only the first looks at the pointer and at a place, which are confirmed, are relaxed.
 */
#define THREADS 3
#define FORKER 2
#define ADDRESSES 2
#define RECORDS 2
#define ROUNDS 2
#define REPLACEMENTS 3

#include "Threads.pml"

/* Addresses are numbered from 1, 0 is null. A place holds an address, or this and the address of an object that the
 * borrower has a reference to. */
#define REFERENCE 8

/* A record has one place. Threads 0 and 1 share one, so each of them can find it full. */
#define RECORD (me / 2)

byte gPlaces[RECORDS];
byte gLeftBehind;               /* in a child: what a thread of the parent had in its place */
byte gCount[ADDRESSES + 1] = {0, 1, 0};    /* the first reference is that of whoever publishes it */
byte gNumber[ADDRESSES + 1];               /* of the object that is or was at this address */
byte gPublished = 1;
byte gReplacements;
byte gReaders;
bool gHasWriter;

/* For the check only: what each thread has on loan. */
byte gUses[THREADS];

#define IS_DESTROYED(object) (gCount[object] == 0)

inline AddRef(object)
{
    atomic { assert(!IS_DESTROYED(object)); gCount[object]++ }
}

inline Release(object)
{
    atomic
    {
        assert(!IS_DESTROYED(object));
        gCount[object]--;
        assert(!IS_DESTROYED(object) || !gIsChild || (gUses[0] != object && gUses[1] != object))
    }
}

inline EnterRead() { atomic { !gHasWriter -> gReaders++ } }
inline LeaveRead() { gReaders-- }
inline EnterWrite() { atomic { !gHasWriter && gReaders == 0 -> gHasWriter = true } }
inline LeaveWrite() { gHasWriter = false }

inline Count()
{
#ifndef BREAK_LOCK
    EnterRead();
#endif
    lent = gPublished;
    if
    :: lent != 0 -> AddRef(lent); number = gNumber[lent]
    :: else
    fi;
#ifndef BREAK_LOCK
    LeaveRead()
#endif
}

/* Also ends the borrowing of an object that was replaced meanwhile. */
inline Withdraw()
{
    atomic { found = gPlaces[RECORD]; gPlaces[RECORD] = 0 }
    if
#ifndef BREAK_WITHDRAWAL
    :: found > REFERENCE -> Release(found - REFERENCE)
#endif
    :: else
    fi;
    found = 0
}

inline Borrow()
{
    seen = gPublished;
    do
    :: seen == 0 -> break
    :: seen != 0 ->
        if
        :: atomic { gPlaces[RECORD] == 0 -> gPlaces[RECORD] = seen }
            if
#ifdef BREAK_COMPARISON
            :: atomic { true -> lent = seen; number = gNumber[seen] }
#else
            :: atomic { gPublished == seen -> lent = seen; number = gNumber[seen] }
#endif
               hasPlace = true;
               break
            :: atomic { gPublished != seen -> seen = gPublished }
               Withdraw()
            fi
        :: atomic { gPlaces[RECORD] != 0 -> skip }
           Count();
           break
        fi
    od;
    seen = 0;
    gUses[me] = lent
}

inline GiveBack()
{
    gUses[me] = 0;
    if
    :: hasPlace -> Withdraw()
    :: else -> Release(lent)
    fi;
    hasPlace = false;
    lent = 0;
    number = 0
}

inline HandOver(object)
{
    for (index : 0 .. RECORDS - 1)
    {
        if
        :: gPlaces[index] == object ->
#ifdef BREAK_REFERENCE
            if
            :: atomic { gPlaces[index] == object -> gPlaces[index] = REFERENCE + object }
               AddRef(object)
            :: atomic { gPlaces[index] != object -> skip }
            fi
#else
            AddRef(object);
            if
            :: atomic { gPlaces[index] == object -> gPlaces[index] = REFERENCE + object }
            :: atomic { gPlaces[index] != object -> skip }
               Release(object)
            fi
#endif
        :: gPlaces[index] != object
        fi
    }
    index = 0;
    if
    :: atomic { gLeftBehind == object -> gLeftBehind = 0 }
       AddRef(object)
    :: atomic { gLeftBehind != object -> skip }
    fi
}

/* The last replacement publishes nothing; so does one that has no address for a new object. */
inline Replace()
{
    EnterWrite();
    atomic
    {
        old = gPublished;
        gReplacements++;
        if
        :: gReplacements < REPLACEMENTS && IS_DESTROYED(1) -> gPublished = 1
        :: gReplacements < REPLACEMENTS && IS_DESTROYED(2) -> gPublished = 2
        :: gReplacements == REPLACEMENTS || (!IS_DESTROYED(1) && !IS_DESTROYED(2)) -> gPublished = 0
        fi;
        if
        :: gPublished != 0 -> gCount[gPublished] = 1; gNumber[gPublished]++
        :: else
        fi
    }
    LeaveWrite();
#ifndef BREAK_HAND_OVER
    HandOver(old);
#endif
    Release(old);
    old = 0
}

inline ForgetOtherThreads()
{
    found = gPlaces[0];
    if
    :: found != 0 && found < REFERENCE ->
#ifdef WITH_FULL_LIST
       skip
#else
#ifndef BREAK_CHILD
       gLeftBehind = found;
#endif
       gPlaces[0] = 0
#endif
    :: found > REFERENCE -> gPlaces[0] = 0
    :: else
    fi;
    found = 0
}

/* Also with a loan open, as a destination does that forks. */
inline Fork()
{
    EnterWrite();
    if
    :: true
    :: BecomeChild();
       ForgetOtherThreads()
    fi;
    LeaveWrite()
}

inline Use()
{
    assert(!IS_DESTROYED(lent) && number == gNumber[lent])
}

active [THREADS] proctype Thread() provided (EXISTS(me))
{
    byte round, seen, lent, number, found, index, old;
    bool hasPlace;
    do
    :: round < ROUNDS ->
        round++;
        Borrow();
        if
        :: me == FORKER && !gIsChild -> Fork()
        :: me == FORKER && gPublished != 0 -> Replace()
        :: true
        fi;
        if
        :: lent != 0 -> Use(); GiveBack()
        :: else
        fi
    :: break
    od;
    if
    :: me == FORKER ->
        do
        :: gPublished != 0 -> Replace()
        :: else -> break
        od
    :: else
    fi;
    gIsDone[me] = true
}

/* Nothing is left over once all are done. */
active proctype WatchObjects()
{
    (gIsDone[0] && gIsDone[1] && gIsDone[2]) ->
    assert(gIsChild || (IS_DESTROYED(1) && IS_DESTROYED(2)));
    assert(gPlaces[0] == 0 && gPlaces[1] == 0)
}
