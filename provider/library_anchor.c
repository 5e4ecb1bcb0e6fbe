/* The shared library is made of the folder archives; this file only gives it a source of its own. */
