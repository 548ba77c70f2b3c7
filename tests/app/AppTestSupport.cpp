#include "app/AppTestSupport.h"

#include "support/TestEnvironment.h"

#include <QTimer>

TestAppDelegate::TestAppDelegate()
{
    setTerminateAction([this] { ++terminateCount; });
}

bool TestAppDelegate::waitUntilIdle()
{
    // A request is set up on a later turn of the main loop; one turn first.
    bool turned = false;
    QTimer::singleShot(0, this, [&turned] { turned = true; });
    return TestEnvironment::waitFor([&] {
        return turned && !isJobRunning() && pendingRequestCount() == 0;
    });
}
