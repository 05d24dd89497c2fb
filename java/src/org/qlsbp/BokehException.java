package org.qlsbp;

/**
 * A result code of the native library that is not success, with the library's own text for it
 * (its {@code qlsbp_strerror}). Thrown when a session cannot be opened or a frame is refused; a
 * refused frame is left unchanged.
 */
public class BokehException extends RuntimeException {
  private static final long serialVersionUID = 1L;

  private final int code;

  public BokehException(int code, String message) {
    super(message);
    this.code = code;
  }

  /** The library's result code, e.g. -1 for an invalid argument (QLSBP_ERR_ARGUMENT). */
  public int getCode() {
    return code;
  }
}
