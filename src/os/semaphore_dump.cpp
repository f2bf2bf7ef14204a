// The diagnostic dumps of the semaphore layer. The labels are catalogue messages 1525 to
// 1538, loaded once per process when the dump switch is on (so that no look-up is needed at
// unload, when the catalogue lock may already be gone); the formats are fixed.
#include <cstdio>
#include <cstring>
#include "kolib/frame.h"
#include "kolib/load_string.h"
#include "os/semaphore_dump.h"

enum { FirstLabel = 1525, LastLabel = 1538, LabelSize = 128 };

struct KoSemaphoreDumpLabels {
    char Text[LastLabel - FirstLabel + 1][LabelSize];
    const char* operator[](unsigned number) const { return Text[number - FirstLabel]; }
};

namespace {
void banner() {
    std::printf("****************************************\n");
}

const char* typeWord(const KoSemaphoreDumpLabels& labels, int real) {
    return real ? labels[1529] : labels[1530];
}
} // namespace

KoSemaphoreDumpLabels* koSemaphoreLoadDumpLabels() {
    KoSemaphoreDumpLabels* labels =
        static_cast<KoSemaphoreDumpLabels*>(ramMalloc(sizeof(KoSemaphoreDumpLabels)));
    if (!labels) return nullptr;
    for (unsigned number = FirstLabel; number <= LastLabel; ++number)
        LoadString(BKOHINST ? BKOHINST : KOUTLHINST, number, labels->Text[number - FirstLabel],
                   LabelSize);
    return labels;
}

void koSemaphoreCreationDump(const KoSemaphoreInfo* info, long setId, unsigned long count,
                             int error) {
    const KoSemaphoreDumpLabels& labels = *info->Labels;
    char fields[7 * LabelSize + 256];
    std::snprintf(fields, sizeof fields, "%s: %s\n%s: %d\n%s: %d\n%s: %d\n%s: %d\n%s: %d\n",
                  labels[1527], typeWord(labels, info->realWanted()), labels[1531],
                  static_cast<int>(info->setLimit()), labels[1532],
                  static_cast<int>(info->SpinCount), labels[1533],
                  static_cast<int>(info->YieldTime), labels[1534], static_cast<int>(setId),
                  labels[1535], static_cast<int>(count));
    banner();
    std::printf("%s\n%s", labels[1525], fields);
    if (error) std::printf("%s %s\n", labels[1537], std::strerror(error));
    banner();
    std::fflush(stdout);
}

void koSemaphoreFinalDump(const KoSemaphore* semaphore) {
    const KoSemaphoreDumpLabels& labels = *semaphore->InfoPtr->Labels;
    banner();
    std::printf("%s\n", labels[1526]);
    std::printf("Semaphore @ Address: %lx\n", reinterpret_cast<unsigned long>(semaphore));
    if (semaphore->NoSpinLock) {
        std::printf("%s: %d\n", labels[1534], static_cast<int>(semaphore->SemaphoreSetID));
        std::printf("%s: %d\n", labels[1536], static_cast<int>(semaphore->SemaphoreNumber));
    }
    std::printf("%s: %s\n", labels[1528], typeWord(labels, semaphore->NoSpinLock));
    banner();
    std::fflush(stdout);
}

void koSemaphoreReleaseDump(const KoSemaphore* semaphore) {
    const KoSemaphoreDumpLabels& labels = *semaphore->InfoPtr->Labels;
    char fields[4 * LabelSize + 64];
    std::snprintf(fields, sizeof fields, "%s: %s\n%s: %d\n%s: %d\n", labels[1528],
                  typeWord(labels, semaphore->NoSpinLock), labels[1534],
                  static_cast<int>(semaphore->SemaphoreSetID), labels[1536],
                  static_cast<int>(semaphore->SemaphoreNumber));
    banner();
    std::printf("%s\n%s", labels[1538], fields);
    std::printf("Semaphore @ Address: %lx\n", reinterpret_cast<unsigned long>(semaphore));
    banner();
    std::fflush(stdout);
}
