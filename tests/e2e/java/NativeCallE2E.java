import com.corvane.velmorith.NativeCall;
import com.corvane.velmorith.NativeCallDemo;

import java.io.BufferedReader;
import java.io.InputStreamReader;
import java.util.ArrayList;
import java.util.Collections;
import java.util.List;
import java.util.concurrent.locks.LockSupport;

/**
 * The Java side of the end-to-end run, as the navigation service uses the library: start, take
 * the once-a-second positions, stop. Talks to its driver by lines: it asks "LINK drive",
 * "LINK replay" or "LINK silent" (answered "OK") to have the serial device point at a moving
 * module, a replay of its recorded drive or a silent module, reports each position received from
 * a moving module as a "CALL" line of the demo's format and each broken expectation as "FAIL ...", and ends with "DONE".
 */
public final class NativeCallE2E {
    private static final String NO_TIME = "00000000000000";

    private record Call(long atNanos, double lat, double lon, double alt, int dopA, int dopB,
            int heading, int reserved, String time) {}

    private static final List<Call> calls = Collections.synchronizedList(new ArrayList<>());
    private static final BufferedReader driver =
            new BufferedReader(new InputStreamReader(System.in));
    private static final NativeCall nativeCall = new NativeCall();

    public static void main(String[] args) throws Exception {
        NativeCall.setListener((lat, lon, alt, a, b, heading, reserved, time) ->
                calls.add(new Call(System.nanoTime(), lat, lon, alt, a, b, heading, reserved, time)));

        link("drive");
        runStarted("first", 7, () -> {
            // Same manager, port already open: refused, and the running stream goes on.
            check(nativeCall.StartGPSDRmodule() == 0, "a second start returns 0");
            awaitCalls(calls.size() + 2, 5000);
        });
        long before = calls.size();
        Thread.sleep(2500);
        check(calls.size() == before, "no position arrives after the stop returned");
        double secondStop = timed(() -> check(nativeCall.EndGPSDRmodule() == 1, "a second stop returns 1"));
        check(secondStop > 0.8 && secondStop < 2.5, "a second stop waits its one second, took " + secondStop);

        link("replay");  // a capture of the same drive, recorded from a pty and played back
        runStarted("again", 5, null);

        link("silent");
        for (Call c : runStarted(null, 3, null)) {
            check(c.lat == 0 && c.lon == 0 && c.alt == 0 && c.dopA == 0 && c.dopB == 0
                    && c.heading == 0 && c.reserved == 0 && NO_TIME.equals(c.time),
                    "a silent module gives an empty position: " + c);
        }
        System.out.println("DONE");
    }

    /** Starts, waits for `wanted` positions, runs `meanwhile`, stops; checks the stream, reports it as `phase`. */
    private static List<Call> runStarted(String phase, int wanted, Runnable meanwhile) throws Exception {
        int from = calls.size();
        check(nativeCall.StartGPSDRmodule() == 1, "start returns 1");
        check(awaitCalls(from + wanted, 2000L * wanted), "got " + wanted + " positions");
        if (meanwhile != null) meanwhile.run();
        double took = timed(() -> check(nativeCall.EndGPSDRmodule() == 1, "stop returns 1"));
        check(took > 2.5 && took < 6, "a stop takes about three seconds, took " + took);
        List<Call> got = new ArrayList<>(calls);
        got = got.subList(from, got.size());
        // One position a second from one thread, and the module's time once it has one.
        for (int i = 1; i < got.size(); ++i) {
            double gap = (got.get(i).atNanos - got.get(i - 1).atNanos) / 1e9;
            check(gap > 0.85 && gap < 1.6, "positions come once a second, gap " + gap);
        }
        boolean timed = false;
        for (Call c : got) {
            check(c.time.matches("\\d{14}"), "time is fourteen digits: " + c.time);
            check(!timed || !NO_TIME.equals(c.time), "the time does not go back to zeros");
            timed |= !NO_TIME.equals(c.time);
            if (phase != null) System.out.println(NativeCallDemo.callLine(phase, c.atNanos, c.lat, c.lon, c.alt, c.dopA, c.dopB,
                    c.heading, c.reserved, c.time));
        }
        return got;
    }

    private static void link(String module) throws Exception {
        System.out.println("LINK " + module);
        String reply = driver.readLine();
        if (!"OK".equals(reply)) throw new IllegalStateException("driver answered " + reply);
    }

    private static boolean awaitCalls(long n, long withinMs) {
        long deadline = System.nanoTime() + withinMs * 1_000_000L;
        while (calls.size() < n && System.nanoTime() < deadline) LockSupport.parkNanos(10_000_000L);
        return calls.size() >= n;
    }

    private static double timed(Runnable r) {
        long t0 = System.nanoTime();
        r.run();
        return (System.nanoTime() - t0) / 1e9;
    }

    private static void check(boolean ok, String what) {
        if (!ok) System.out.println("FAIL " + what);
    }
}
