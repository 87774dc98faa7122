package com.corvane.velmorith;

import java.io.BufferedReader;
import java.io.InputStreamReader;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.TimeUnit;
import java.util.concurrent.atomic.AtomicInteger;

/**
 * The demo's Java side, used as the navigation service uses the library: start the module, take
 * the positions, stop. Each sendGISInfo call is printed the moment it arrives, on the thread that
 * made it, as one line for gpsdr-demo ({@link #callLine}); it stops after the wanted number of
 * calls, or when its driver writes "STOP" or closes standard input.
 *
 *   java com.corvane.velmorith.NativeCallDemo CALLS
 */
public final class NativeCallDemo {
    private static final long T0 = System.nanoTime();

    /** "CALL label ms lat lon alt dopA dopB heading reserved time": ms since the JVM started. */
    public static String callLine(String label, long nanos, double lat, double lon, double alt, int dopA,
            int dopB, int heading, int reserved, String time) {
        return "CALL " + label + " " + (nanos - T0) / 1_000_000 + " " + lat + " " + lon + " " + alt + " "
                + dopA + " " + dopB + " " + heading + " " + reserved + " " + time;
    }

    /** The operating system's name of the calling thread: the library names its own. */
    private static String threadName() {
        try {
            return Files.readString(Path.of("/proc/thread-self/comm")).trim();
        } catch (Exception e) {
            return "?";
        }
    }

    public static void main(String[] args) throws Exception {
        int wanted = Integer.parseInt(args[0]);
        AtomicInteger calls = new AtomicInteger();
        CountDownLatch done = new CountDownLatch(1);
        NativeCall.setListener((lat, lon, alt, a, b, heading, reserved, time) -> {
            System.out.println(callLine(threadName(), System.nanoTime(), lat, lon, alt, a, b, heading,
                    reserved, time));
            if (calls.incrementAndGet() >= wanted) done.countDown();
        });
        Thread driver = new Thread(() -> {
            try (BufferedReader in = new BufferedReader(new InputStreamReader(System.in))) {
                for (String line; (line = in.readLine()) != null && !line.equals("STOP");) {
                }
            } catch (Exception e) {
                // a closed input stops the demo as well
            }
            done.countDown();
        });
        driver.setDaemon(true);
        driver.start();

        NativeCall nativeCall = new NativeCall();
        int started = nativeCall.StartGPSDRmodule();
        System.out.println("START " + started);
        if (started == 1) done.await(wanted + 10L, TimeUnit.SECONDS);
        int ended = nativeCall.EndGPSDRmodule();
        System.out.println("END " + ended + " " + calls.get());
    }
}
