// The Java side of the driver: load-time caching of the VM and of the class
// com.corvane.velmorith.NativeCall, its two native methods (start and stop the module), and
// the once-a-second position callback into its static sendGISInfo.
//
// Every message goes to the Android log with the tag "JNI".
#ifndef GPSDR_JNI_NATIVECALL_H
#define GPSDR_JNI_NATIVECALL_H

#include <jni.h>

#include <atomic>
#include <cstdint>

class GpsDRInterface;

// Written by the Java thread, read by the update thread: relaxed atomics, no lock.
extern std::atomic<JavaVM*> mJavaVM;          // set by JNI_OnLoad
extern std::atomic<jclass> jNativesCls2;      // the class as found at load (a stale local ref)
extern std::atomic<GpsDRInterface*> g_pGpsDr; // the facade of the last start, never freed
extern std::atomic<int32_t> g_nNowRun;        // 1 while started; the callback needs exactly 1

// Calls NativeCall.sendGISInfo(lat, lon, alt, a, b, heading, reserved, time) from any native
// thread, attaching it to the VM on first use. Does nothing unless started or without a VM.
void Call_Java_NativeCall_SendGISInfo(double lat, double lon, double alt, int a, int b, int heading,
                                      int reserved, const char* time);

// Detaches the calling thread if it is attached; otherwise returns GetEnv's answer.
jint VMdetachingThread();

extern "C" {
JNIEXPORT jint JNICALL JNI_OnLoad(JavaVM* vm, void* reserved);
// 1 when the module was started, else 0.
JNIEXPORT jint JNICALL Java_com_corvane_velmorith_NativeCall_StartGPSDRmodule(JNIEnv* env, jobject thiz);
// 1 when a facade was stopped, 0 when there was none.
JNIEXPORT jint JNICALL Java_com_corvane_velmorith_NativeCall_EndGPSDRmodule(JNIEnv* env, jobject thiz);
}

#endif  // GPSDR_JNI_NATIVECALL_H
