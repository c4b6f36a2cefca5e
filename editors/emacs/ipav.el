;;; ipav.el --- Verdicts on router configurations while you type  -*- lexical-binding: t -*-

;;; Commentary:
;; Makes eglot start `ipav lsp' for configurations.  For the init file:
;;   (load "/usr/share/ipav/editors/emacs/ipav.el")
;; Then M-x eglot in a buffer, or always, for configurations:
;;   (add-hook 'nxml-mode-hook #'ipav-ensure)
;;   (add-hook 'js-json-mode-hook #'ipav-ensure)

;;; Code:

(require 'eglot)

(defvar ipav-command '("ipav" "lsp")
  "The language server with its arguments.")

(add-to-list 'eglot-server-programs
             (cons '(nxml-mode js-mode js-json-mode json-mode)
                   (lambda (&rest _) ipav-command)))

(defun ipav-ensure ()
  "Start the server if this is a configuration."
  (when (save-excursion
          (goto-char (point-min))
          (search-forward-regexp "vorplex[:-]" 10000 t))
    (eglot-ensure)))

(provide 'ipav)
;;; ipav.el ends here
