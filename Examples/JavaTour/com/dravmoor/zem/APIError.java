package com.dravmoor.zem;

/** An error of the native side, with its text. */
public class APIError extends RuntimeException {
    private static final long serialVersionUID = 1;

    public APIError(String message) {
        super(message);
    }
}
