// A shared object that does nothing when it is loaded.
int empty_object(void);
int empty_object(void) { return 0; }
