/* What every public header of the base runtime needs: the mark of an exported declaration. */
#ifndef ORVO_BASE_H
#define ORVO_BASE_H

#if !defined(ORVO_API)
#define ORVO_API __attribute__((visibility("default")))
#endif

#endif
