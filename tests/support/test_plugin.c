/* A shared object for the library-loading tests. */
int kotest_plugin_answer(void) {
    return 42;
}
