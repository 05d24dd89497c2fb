/* Symbol visibility for libql_single_bokeh_preview.
 *
 * The library is built with hidden visibility by default; every public
 * function and global carries QLSBP_API so that exactly the public surface is
 * exported from the shared object. */
#ifndef QLSBP_EXPORT_H_
#define QLSBP_EXPORT_H_

#if defined(_WIN32)
#define QLSBP_API
#else
#define QLSBP_API __attribute__((visibility("default")))
#endif

#endif /* QLSBP_EXPORT_H_ */
