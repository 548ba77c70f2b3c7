#include "platform/RKTaskbarProgress.h"

namespace {
RKTaskbarProgress* g_display = nullptr;
}

RKTaskbarProgress* RKTaskbarProgress::current()
{
    return g_display;
}

void RKTaskbarProgress::setCurrent(RKTaskbarProgress* display)
{
    g_display = display;
}

void RKTaskbarProgress::startingArchive(qsizetype index, qsizetype count)
{
    if (g_display) {
        g_display->archiveStarting(index, count);
    }
}

void RKTaskbarProgress::progressOfArchive(double share)
{
    if (g_display) {
        g_display->archiveProgress(share);
    }
}

void RKTaskbarProgress::endOfJob()
{
    if (g_display) {
        g_display->jobEnded();
    }
}
