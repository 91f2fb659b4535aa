// What the sanitizers are to pass over in the libraries underneath a program with Foundation:
// - the tables that the Objective-C runtime makes once, when classes are loaded, and keeps
//   without a pointer that the leak checker can find. By function of the runtime; nothing of
//   ours allocates through them.
// - the locks inside the base library and the runtime, taken in both orders while a thread is
//   first made known to them. By library; our own locks are all watched.
//
// The sanitizers look these names up; they are in no header.
extern "C" const char *__lsan_default_options();
extern "C" const char *__lsan_default_suppressions();
extern "C" const char *__tsan_default_suppressions();

// A program's output stays its own.
extern "C" const char *__lsan_default_options()
{
    return "print_suppressions=0";
}

extern "C" const char *__lsan_default_suppressions()
{
    return "leak:objc_malloc\n"
           "leak:class_copyMethodList\n";
}

extern "C" const char *__tsan_default_suppressions()
{
    return "called_from_lib:libgnustep-base.so\n"
           "called_from_lib:libobjc.so\n";
}
