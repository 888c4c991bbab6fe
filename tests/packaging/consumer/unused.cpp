// Linked after the library, by a linker that drops what is not called, and called by nobody.
int unused() { return 0; }
