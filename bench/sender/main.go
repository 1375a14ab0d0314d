// sender COUNT PORT: sends so many events, one at a time, to a server on this machine, each when the answer to the last has
// arrived. What a comparable open-source sender costs; see scripts/bench.
package main

import (
	"fmt"
	"os"
	"strconv"
	"time"

	"github.com/getsentry/sentry-go"
)

func fail(err error) {
	fmt.Fprintln(os.Stderr, "sender:", err)
	os.Exit(1)
}

func main() {
	if len(os.Args) != 3 {
		fail(fmt.Errorf("needs COUNT and PORT"))
	}
	count, err := strconv.Atoi(os.Args[1])
	if err != nil {
		fail(err)
	}
	transport := sentry.NewHTTPSyncTransport()
	transport.Timeout = 30 * time.Second
	err = sentry.Init(sentry.ClientOptions{
		Dsn:       "http://key@127.0.0.1:" + os.Args[2] + "/1",
		Release:   "1.0.0.0",
		Transport: transport,
	})
	if err != nil {
		fail(err)
	}
	for i := 0; i < count; i++ {
		if sentry.CaptureMessage("DeviceCentreLinks LinkClicked order-supplies") == nil {
			fail(fmt.Errorf("event %d was dropped", i))
		}
	}
	sentry.Flush(30 * time.Second)
}
