package com.corvane.velmorith;

/**
 * The navigation service's bridge to libgpsdr: start and stop the GPS/DR module, and receive
 * its position once a second through {@link #sendGISInfo}.
 */
public class NativeCall {
    static {
        System.loadLibrary("gpsdr");
    }

    /** Receives what the library passes to {@link #sendGISInfo}, on the library's thread. */
    public interface GISListener {
        void onGISInfo(double lat, double lon, double alt, int dopA, int dopB, int heading,
                int reserved, String time);
    }

    private static volatile GISListener listener;

    /** Where positions go from now on; null drops them. */
    public static void setListener(GISListener l) {
        listener = l;
    }

    /** 1 when the module was started, 0 otherwise. */
    public native int StartGPSDRmodule();

    /** 1 when a started module was stopped, 0 when there was none. Takes about three seconds. */
    public native int EndGPSDRmodule();

    /** Called by the library: latitude and longitude in degrees, altitude in metres, two DOP
     *  values, heading in whole degrees, 0, and the module's UTC time as "YYYYMMDDhhmmss". */
    public static void sendGISInfo(double lat, double lon, double alt, int dopA, int dopB,
            int heading, int reserved, String time) {
        GISListener l = listener;
        if (l != null) l.onGISInfo(lat, lon, alt, dopA, dopB, heading, reserved, time);
    }
}
