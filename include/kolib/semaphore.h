// KoSemaphore: the lock that library objects carry. By default it is a spin lock on bit 0 of
// a word in the object; when "KO_SEMCONTROL" has the switch 0x80000 it is one semaphore of a
// System V semaphore set that the library creates and shares among many KoSemaphore objects.
// The per-task KoSemaphoreInfo keeps the sets and the tuning values read from the environment
// ("KO_SPIN_COUNT", "KO_SPIN_SLEEP", "KO_SEMCONTROL") once per process. Neither kind of lock
// is recursive. Nothing here adds errors to the error list.
#pragma once

#include <cstdint>
#include "kolib/array.h"
#include "kolib/object.h"

class KoSemaphoreInfo;
struct KoSemaphoreDumpLabels;

// The control word read from "KO_SEMCONTROL" (hexadecimal).
enum {
    KO_SEMCONTROL_SET_SIZE = 0x000FF, // non-zero: semaphores requested per set
    KO_SEMCONTROL_DUMP = 0x10000,     // print the diagnostic dumps
    KO_SEMCONTROL_REAL = 0x80000      // use System V semaphores instead of spin locks
};

enum {
    KO_SEM_MAX_SETS = 10,         // set records per task
    KO_SEM_DEFAULT_SET_SIZE = 25, // semaphores per set unless the control word says otherwise
    KO_SEM_DEFAULT_SPIN_COUNT = 25
};

// Markers that a lazily created semaphore pointer (koSemaphoreEnter) may hold instead of an
// object: 0 never created, 1 being created, 2 destroyed.
#define KO_SEMAPHORE_CREATING (reinterpret_cast<KoSemaphore*>(1))
#define KO_SEMAPHORE_DESTROYED (reinterpret_cast<KoSemaphore*>(2))

class KO_API KoSemaphore : public KoObject {
public:
    // Remembers `owner` only when `previous` is the marker 2, then allocates the lock
    // (bosSemaphoreAlloc). Safe to run during the library's static initialisation.
    KoSemaphore(KoSemaphore** owner, KoSemaphore* previous);
    // Frees the lock (bosSemaphoreFree); a remembered owner pointer receives the marker 2.
    ~KoSemaphore() override;
    KoSemaphore(const KoSemaphore&) = delete;
    KoSemaphore& operator=(const KoSemaphore&) = delete;

    // Acquire / release by the kind in use. A thread that enters twice waits for itself.
    void SemaphoreEnter();
    void SemaphoreExit();
    // The System V halves: semop -1 / +1 with SEM_UNDO; the results are ignored.
    void SemaphoreGet();
    void SemaphoreFree();
    // The spin half: tries bosMemLock up to SpinCount times, one second apart, then yields
    // and starts again, for ever.
    void bosSpinLock();

    // Takes a semaphore from the task's sets, making a set when needed, or else sets up a
    // spin lock; records the object in the task's list.
    void bosSemaphoreAlloc();
    // Gives the semaphore back; the last one of a set removes the set from the system.
    void bosSemaphoreFree();

    int realSemaphore() const { return NoSpinLock; }
    void enableRealSemaphore() { NoSpinLock = 1; }
    void disableRealSemaphore() { NoSpinLock = 0; }
    unsigned short getSemaphoreNumber() const { return SemaphoreNumber; }
    void setSemaphoreNumber(unsigned short number) { SemaphoreNumber = number; }
    unsigned long getSemaphoreSetID() const { return SemaphoreSetID; }
    void setSemaphoreSetID(unsigned long id) { SemaphoreSetID = static_cast<uint32_t>(id); }
    // Only yields the processor; the time is ignored.
    void SleepDispatch(unsigned long time);
    // Does nothing.
    void bosSemaphoreReclamation() {}

    unsigned long ThreadId;    // holder (bosGetThreadID); 0 after a real release
    int NoSpinLock;            // 1: a System V semaphore
    uint32_t SpinLock;         // bit 0 is the spin lock
    uint32_t SemaphoreSetID;   // System V set identifier, 0 when none
    uint16_t SemaphoreNumber;  // index within the set
    KoSemaphore** GPSemaphore; // the owner's pointer to this object, or null
    KoSemaphoreInfo* InfoPtr;  // the task's bookkeeping (null if it could not be made)

private:
    // Makes a System V set at record `index`; 0 on success.
    unsigned makeSet(unsigned short index);
};

// One System V semaphore set of the task.
struct SemaSetInfo_st {
    uint16_t NumberOfSems;
    uint16_t UseCount; // numbers handed out so far, which is also the next number to hand out
    uint32_t SetID;
};

// All KoSemaphore objects of the task, with a spin-lock word of its own.
class KO_API SemArray : public KoArray {
public:
    SemArray() : lockMemory(0) {}
    // Spin on lockMemory (yielding between tries) / release it.
    void GetSemaphore();
    void FreeSemaphore();
    // The index of `semaphore`, or the count when it is not listed.
    unsigned long indexOf(const KoSemaphore* semaphore) const;

    uint32_t lockMemory;
};

// The task's semaphore bookkeeping: kept in per-task slot MDS_PER_TASK_SEM_INFO and never
// released. It is not locked: allocations and frees of KoSemaphore objects within one task
// are expected from one thread at a time.
class KO_API KoSemaphoreInfo : public KoObject {
public:
    KoSemaphoreInfo();
    ~KoSemaphoreInfo() override;
    KoSemaphoreInfo(const KoSemaphoreInfo&) = delete;
    KoSemaphoreInfo& operator=(const KoSemaphoreInfo&) = delete;

    // Reads the environment; with the dump switch on, loads the dump labels. Runs once.
    void initialize();
    int dumpsWanted() const { return (Debug & ~0xFFu & KO_SEMCONTROL_DUMP) != 0; }
    int realWanted() const { return (Debug & ~0xFFu & KO_SEMCONTROL_REAL) != 0; }
    // The per-set limit configured in the control word's low byte (0: none).
    unsigned setLimit() const { return Debug & KO_SEMCONTROL_SET_SIZE; }

    SemaSetInfo_st SemaSetInfo[KO_SEM_MAX_SETS];
    uint32_t YieldTime;
    uint32_t SpinCount;
    uint32_t LimitUseCount;
    uint32_t Debug;
    bool Initialized;
    uint16_t NumberOfSets;
    SemArray SemaphoreList;
    KoSemaphoreDumpLabels* Labels; // the dump texts, loaded only with the dump switch
    // Semaphores of each set still alive. A freed number is never handed out again (the set's
    // UseCount only grows), so two live objects can never share a number; the set goes back to
    // the system when this reaches 0.
    uint16_t LiveCount[KO_SEM_MAX_SETS];
};

// Acquire through a pointer that may not hold a semaphore yet: 0 or 2 make one (the pointer
// holds 1 meanwhile); 1 and 2 do not lock. If the semaphore cannot be allocated the pointer
// keeps its old value and nothing is locked.
KO_API void koSemaphoreEnter(KoSemaphore** semaphore);
// Release through such a pointer; does nothing while it holds 0, 1 or 2.
KO_API void koSemaphoreExit(KoSemaphore** semaphore);
