// Built in only with the address sanitizer, which asks the program for these texts.

// NOLINTBEGIN(bugprone-reserved-identifier): the names are the sanitizer's
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_options();

// The detailed report leaves its two work arrays behind, as it is documented to.
extern "C" const char* __lsan_default_suppressions() { return "leak:pr_detailinfo_hypergraph"; }

extern "C" const char* __lsan_default_options() { return "print_suppressions=0"; }
// NOLINTEND(bugprone-reserved-identifier)
